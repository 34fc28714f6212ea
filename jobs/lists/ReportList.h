#pragma once

#include "jobs/lists/CutListFormat.h"

namespace Tessor::Jobs
{

/// The "intervals" of this program's own documents, with "titles" beside them where there are any.
class ReportList final : public CutListFormat
{
public:
    std::string GetName() const override { return "json"; }
    std::string GetSummary() const override { return "the report of a cut"; }
    std::string GetExtension() const override { return ".json"; }
    bool IsIn(const ListText& text) const override { return text.GetFirstLine().starts_with('{'); }
    CutList Read(const ListText& text, const TimeContext& context) const override;
    std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const override;
};

} // namespace Tessor::Jobs
