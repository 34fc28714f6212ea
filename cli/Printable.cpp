#include "cli/Printable.h"

#include <boost/locale/utf.hpp>

namespace Tessor::Cli
{

namespace
{

using Utf8 = boost::locale::utf::utf_traits<char>;
using CodePoint = boost::locale::utf::code_point;

bool IsWithin(CodePoint code, CodePoint first, CodePoint last)
{
    return code >= first && code <= last;
}

/// C0, DEL and C1; marks, embeddings, overrides and isolates of direction; separators of lines and paragraphs.
bool IsControl(CodePoint code)
{
    return code < 0x20 || IsWithin(code, 0x7F, 0x9F) || code == 0x061C || IsWithin(code, 0x200E, 0x200F) ||
           IsWithin(code, 0x2028, 0x202E) || IsWithin(code, 0x2066, 0x2069);
}

std::string Escape(CodePoint code)
{
    switch (code)
    {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return code < 0x80 ? fmt::format("\\x{:02x}", code) : fmt::format("\\u{:04x}", code);
    }
}

} // namespace

std::string Printable(std::string_view text)
{
    std::string result;
    for (const char *at = text.data(), *const end = at + text.size(); at != end;)
    {
        const char* const begin = at;
        const CodePoint code = Utf8::decode(at, end);
        if (!boost::locale::utf::is_valid_codepoint(code))
        {
            // the bytes after it may be sound
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(*begin));
            at = begin + 1;
        }
        else if (IsControl(code))
            result += Escape(code);
        else
            result.append(begin, at);
    }
    return result;
}

} // namespace Tessor::Cli
