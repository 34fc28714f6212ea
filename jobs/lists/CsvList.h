#pragma once

#include "jobs/lists/CutListFormat.h"

namespace Tessor::Jobs
{

/// "start,end[,title]": a row for each part, quoted as in all CSV. An empty start is that of the file, an empty end its
/// end; a first row that is no range is the header.
class CsvList final : public CutListFormat
{
public:
    std::string GetName() const override { return "csv"; }
    std::string GetSummary() const override { return "start,end[,title] in each line"; }
    std::string GetExtension() const override { return ".csv"; }
    bool IsIn(const ListText& text) const override { return !text.GetFirstLine().empty(); }
    CutList Read(const ListText& text, const TimeContext& context) const override;
    std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const override;
};

} // namespace Tessor::Jobs
