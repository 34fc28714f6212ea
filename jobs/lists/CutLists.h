#pragma once

#include "jobs/lists/CutListFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// All formats of cut lists, in the order in which a list is tried for them.
TESSOR_API const std::vector<std::unique_ptr<const CutListFormat>>& GetCutListFormats();

/// The names, for help: "csv, edl, ...".
TESSOR_API std::string ListCutListFormats();

/// The format of that name, or without one that of files with the path's extension. Throws JobError for others.
TESSOR_API const CutListFormat& ChooseCutListFormat(const std::string& path, const std::string& name);

/// What the text keeps of the file, or with `remove` what it removes of it. A list that names what is left out keeps
/// the rest, and removes what it names; any other one keeps, or removes, what it names.
TESSOR_API CutList ReadCutList(const ListText& text, const TimeContext& context, bool remove);

/// What is kept, as text. Titles are written where the format has any.
TESSOR_API std::string WriteCutList(const CutListFormat& format, const std::vector<AskedRange>& kept,
                                    const TimeContext& context);

} // namespace Tessor::Jobs
