#pragma once

#include "jobs/lists/CutListFormat.h"

namespace Tessor::Jobs
{

/// What players skip: "start end action" in each line, times in seconds, as clock times or as frames ("#123"). Only the
/// action 0 is a cut; what is muted, marked or a commercial stays, and is told.
class SkipList final : public CutListFormat
{
public:
    std::string GetName() const override { return "edl"; }
    std::string GetSummary() const override { return "what players skip: start end action"; }
    std::string GetExtension() const override { return ".edl"; }
    bool ListsRemoved() const override { return true; }
    bool IsIn(const ListText& text) const override;
    CutList Read(const ListText& text, const TimeContext& context) const override;
    std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const override;
};

} // namespace Tessor::Jobs
