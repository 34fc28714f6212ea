#include "jobs/chains/FilterChain.h"

#include "jobs/JobError.h"

#include <cctype>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

/// Reads a chain from left to right. Each part stops in front of what it does not take.
class ChainReader
{
public:
    explicit ChainReader(const std::string& text) : text(text) {}

    std::vector<FilterCall> Read()
    {
        std::vector<FilterCall> chain;
        SkipBlanks();
        while (!AtEnd())
        {
            chain.push_back(ReadCall());
            if (AtEnd())
                break;
            ++at; // the comma
            SkipBlanks();
            if (AtEnd())
                Fail("a filter is missing after the comma");
        }
        return chain;
    }

private:
    FilterCall ReadCall()
    {
        FilterCall call;
        call.name = ReadWord("the name of a filter");
        if (!AtEnd() && text[at] == '=')
        {
            do
            {
                ++at;
                call.options.emplace_back(ReadWord("a key"), std::nullopt);
                if (AtEnd() || text[at] != '=')
                    continue; // a key alone: on to the colon, if there is one
                ++at;
                call.options.back().second = ReadValue();
            } while (!AtEnd() && text[at] == ':');
        }
        if (!AtEnd() && text[at] != ',')
            Fail(fmt::format("\"{}\" is not expected", text[at]));
        return call;
    }

    std::string ReadWord(const char* what)
    {
        SkipBlanks();
        const size_t begin = at;
        while (!AtEnd() && (std::isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_' || text[at] == '-'))
            ++at;
        if (at == begin)
            Fail(std::string(what) + " is missing");
        const std::string word = text.substr(begin, at - begin);
        SkipBlanks();
        return word;
    }

    std::string ReadValue()
    {
        SkipBlanks();
        std::string value;
        size_t kept = 0; // length up to the last character that counts: blanks after it end the value
        for (; !AtEnd() && text[at] != ':' && text[at] != ','; ++at)
        {
            if (text[at] == '\'')
                value += ReadQuoted();
            else if (text[at] == '\\')
                value += ReadEscaped();
            else
            {
                value += text[at];
                if (IsBlank())
                    continue;
            }
            kept = value.size();
        }
        value.resize(kept);
        return value;
    }

    /// Stops at the closing quote.
    std::string ReadQuoted()
    {
        const size_t begin = at + 1;
        const size_t end = text.find('\'', begin);
        if (end == std::string::npos)
            Fail("the quote has no end");
        at = end;
        return text.substr(begin, end - begin);
    }

    char ReadEscaped()
    {
        if (at + 1 >= text.size())
            Fail("nothing stands after the backslash");
        return text[++at];
    }

    bool AtEnd() const { return at >= text.size(); }
    bool IsBlank() const { return std::isspace(static_cast<unsigned char>(text[at])); }
    void SkipBlanks()
    {
        while (!AtEnd() && IsBlank())
            ++at;
    }

    [[noreturn]] void Fail(const std::string& why) const
    {
        throw JobError(JobError::BadRequest, fmt::format("filter chain \"{}\", character {}: {}", text, at + 1, why));
    }

    const std::string& text;
    size_t at = 0;
};

} // namespace

std::vector<FilterCall> ParseFilterChain(const std::string& text)
{
    return ChainReader(text).Read();
}

} // namespace Tessor::Jobs
