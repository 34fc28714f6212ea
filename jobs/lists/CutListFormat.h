#pragma once

#include "jobs/Times.h"
#include "jobs/lists/ListText.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What a list says of a file.
struct CutList
{
    std::vector<AskedRange> ranges;    ///< as they stand
    std::vector<std::string> warnings; ///< what is asked for beside that and is not done
};

/// A way to write down parts of a file. Formats remember nothing.
class TESSOR_API CutListFormat
{
public:
    virtual ~CutListFormat() = default;

    virtual std::string GetName() const = 0;
    /// In a few words, for help.
    virtual std::string GetSummary() const = 0;
    /// Of files that are written in it, with the dot.
    virtual std::string GetExtension() const = 0;
    /// The parts are those that are left out, and not those that are kept.
    virtual bool ListsRemoved() const { return false; }
    /// By what it begins with.
    virtual bool IsIn(const ListText& text) const = 0;
    /// Throws JobError that names the line.
    virtual CutList Read(const ListText& text, const TimeContext& context) const = 0;
    /// The parts in order of time. Throws JobError for what the format can't tell.
    virtual std::string Write(const std::vector<AskedRange>& ranges, const TimeContext& context) const = 0;
};

} // namespace Tessor::Jobs
