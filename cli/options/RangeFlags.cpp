#include "cli/options/RangeFlags.h"

#include "jobs/lists/CutLists.h"

namespace Tessor::Cli
{

void AddRangeOptions(OptionTable& table, Jobs::RangeList& keep, Jobs::RangeList& remove)
{
    const std::string formats = " (" + Jobs::ListCutListFormats() + ")";
    table.push_back({"--keep", "A-B[,C-D]", "ranges to keep, exactly; may be given several times", &keep.texts});
    table.push_back({"--remove", "A-B[,C-D]", "ranges to remove", &remove.texts});
    table.push_back({"--keep-list", "FILE", "keep what a cut list keeps" + formats, &keep.files, {}, true});
    table.push_back({"--remove-list", "FILE", "remove what a cut list names", &remove.files, {}, true});
    table.push_back({"--keep-chapters", "2,4-6", "chapters to keep, by number or title", &keep.chapters});
    table.push_back({"--remove-chapters", "2,4-6", "chapters to remove", &remove.chapters});
}

} // namespace Tessor::Cli
