#include "tests/support/ReadAll.h"

#include "tests/support/FakeItems.h"

namespace Tessor::Test
{

std::string ReadSome(Proc::IStream& stream, int count, Show show)
{
    Script script;
    std::string end;
    while (end.empty() && static_cast<int>(script.size()) < count)
        try
        {
            if (const SP<Proc::IData> item = stream.ReadStream())
                script.push_back(DescribeItem(*item));
            else
                end = "E";
        }
        catch (const std::exception& e)
        {
            if (Describe(e) == "scripted failure")
                script.emplace_back().throws = true;
            else
                end = "!(" + Describe(e) + ")";
        }
    std::string text = PrintScript(script, show == Show::Values);
    text.replace(text.size() - 1, 1, end);
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string ReadAll(Proc::IStream& stream, Show show)
{
    constexpr int itemLimit = 10000;
    const std::string text = ReadSome(stream, itemLimit, show);
    if (text.empty() || (text.back() != 'E' && text.back() != ')'))
        throw std::length_error("the stream does not end: " + text.substr(0, 200));
    return text;
}

} // namespace Tessor::Test
