#include "tests/support/ReadAll.h"

#include "Fnd/Exception.h"
#include "tests/support/FakeItems.h"

#include <stdexcept>

namespace Tessor::Test
{

namespace
{

constexpr int itemLimit = 10000;

enum class Step
{
    Item,
    End,
    Failure, // other than a scripted one
};

Step ReadStep(Proc::IStream& stream, Script& script, std::string& failure)
{
    try
    {
        const SP<Proc::IData> item = stream.ReadStream();
        if (!item)
            return Step::End;
        script.push_back(DescribeItem(*item));
    }
    catch (const std::exception& e)
    {
        if (Describe(e) != "scripted failure")
        {
            failure = "!(" + Describe(e) + ")";
            return Step::Failure;
        }
        ScriptItem item;
        item.throws = true;
        script.push_back(item);
    }
    return Step::Item;
}

} // namespace

std::string ReadSome(Proc::IStream& stream, int count, Show show)
{
    Script script;
    std::string failure;
    Step step = Step::Item;
    while (step == Step::Item && static_cast<int>(script.size()) < count)
        step = ReadStep(stream, script, failure);
    std::string text = PrintScript(script, show == Show::Values);
    if (step != Step::End)
        text.resize(text.size() - 1);
    text += failure;
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string ReadAll(Proc::IStream& stream, Show show)
{
    const std::string text = ReadSome(stream, itemLimit, show);
    if (text.empty() || (text.back() != 'E' && text.back() != ')'))
        throw std::length_error("the stream does not end: " + text.substr(0, 200));
    return text;
}

} // namespace Tessor::Test
