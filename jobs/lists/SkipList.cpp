#include "jobs/lists/SkipList.h"

#include <fmt/format.h>
#include <regex>

namespace Tessor::Jobs
{

namespace
{

bool IsComment(const std::string& line)
{
    // one of these begins a frame's number
    return line.empty() || line.starts_with("##") || line.starts_with("# ");
}

/// A comment that makes a list of nothing one of this format.
constexpr const char* NOTHING = "## tessor: nothing is cut";

/// What is asked for beside cuts, in words; null for what is no action.
const char* NameAction(const std::string& action)
{
    constexpr const char* names[] = {"a cut", "muted sound", "a scene", "a commercial"};
    return action.size() == 1 && action[0] >= '0' && action[0] <= '3' ? names[action[0] - '0'] : nullptr;
}

std::string AsTime(const std::string& word)
{
    return word.starts_with('#') ? word.substr(1) + "f" : word;
}

} // namespace

bool SkipList::IsIn(const ListText& text) const
{
    if (text.GetFirstLine('\0') == NOTHING)
        return true;
    static const std::regex row(R"(#?[0-9][0-9:.]*(\s+#?[0-9][0-9:.]*)?\s+[0-9]+)");
    for (const std::string& line : text.GetLines())
        if (const std::string trimmed = Trimmed(line); !IsComment(trimmed))
            return std::regex_match(trimmed, row);
    return false;
}

CutList SkipList::Read(const ListText& text, const TimeContext& context) const
{
    CutList list;
    for (size_t line = 0; line < text.GetLines().size(); ++line)
    {
        const std::vector<std::string> words = Words(text.GetLines()[line]);
        if (words.empty() || IsComment(Trimmed(text.GetLines()[line])))
            continue;
        const char* const action = NameAction(words.back());
        // a scene may be a single time
        if (!action || words.size() != (words.back() == "2" && words.size() == 2 ? 2 : 3))
            text.Fail(line, "start end action is wanted, with an action from 0 to 3");
        if (words.back() == "0")
            list.ranges.push_back(
                {{text.ReadTime(line, AsTime(words[0]), context), text.ReadTime(line, AsTime(words[1]), context)},
                 "",
                 text.NameLine(line)});
        else
            list.warnings.push_back(fmt::format("{}: {} is not cut", text.NameLine(line), action));
    }
    return list;
}

std::string SkipList::Write(const std::vector<AskedRange>& ranges, const TimeContext&) const
{
    std::string text = ranges.empty() ? std::string(NOTHING) + "\n" : "";
    for (const AskedRange& asked : ranges)
        text += fmt::format("{:.6f} {:.6f} 0\n", Seconds(asked.range.start), Seconds(asked.range.end));
    return text;
}

} // namespace Tessor::Jobs
