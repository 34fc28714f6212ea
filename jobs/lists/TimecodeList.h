#pragma once

#include "jobs/lists/CutListFormat.h"

namespace Tessor::Jobs
{

/// The edit decision list of CMX 3600: events with timecodes of the source and of the record. What the source times of
/// the picture's events name is kept; of a list without picture those of its sound.
class TimecodeList final : public CutListFormat
{
public:
    std::string GetName() const override { return "cmx3600"; }
    std::string GetSummary() const override { return "CMX 3600 events with timecodes"; }
    std::string GetExtension() const override { return ".cmx"; }
    bool IsIn(const ListText& text) const override;
    CutList Read(const ListText& text, const TimeContext& context) const override;
    std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const override;
};

} // namespace Tessor::Jobs
