#pragma once

#include "jobs/lists/CutListFormat.h"

namespace Tessor::Jobs
{

/// Chapters as FFmpeg writes metadata to a file: each of them is a part.
class ChapterList final : public CutListFormat
{
public:
    std::string GetName() const override { return "ffmetadata"; }
    std::string GetSummary() const override { return "chapters as FFmpeg writes them"; }
    std::string GetExtension() const override { return ".ffmetadata"; }
    bool IsIn(const ListText& text) const override { return text.GetFirstLine().starts_with(";FFMETADATA"); }
    CutList Read(const ListText& text, const TimeContext& context) const override;
    std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const override;
};

} // namespace Tessor::Jobs
