#pragma once

#include "Fnd/Exception.h"
#include "Proc/StreamTemplates/IStream.h"
#include "tests/support/Script.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{

enum class Show
{
    Times,
    Values, ///< also what the items hold
};

/// The rest of a stream in the notation of scripts, with E for the end, "!" for a "scripted failure" and "!(text)" for
/// any other exception, after which reading stops. More than 10000 items throw std::length_error.
std::string ReadAll(Proc::IStream& stream, Show show = Show::Times);

/// As ReadAll, but at most `count` items, and no E where more might follow.
std::string ReadSome(Proc::IStream& stream, int count, Show show = Show::Times);

template <class Stream>
std::string ReadAll(const SP<Stream>& stream, Show show = Show::Times)
{
    return ReadAll(*stream, show);
}
template <class Stream>
std::string ReadSome(const SP<Stream>& stream, int count, Show show = Show::Times)
{
    return ReadSome(*stream, count, show);
}

/// The text of the exception with which a call fails, "" when it does not. Exceptions of other classes pass.
template <class E, class F>
std::string TextOf(const F& call)
{
    try
    {
        call();
    }
    catch (const E& e)
    {
        return Describe(e);
    }
    return "";
}

/// Both phases of a seek.
template <class Stream>
void Seek(const SP<Stream>& stream, avTime target)
{
    stream->RequestSeek(target, nullptr);
    stream->DoSeek();
}

} // namespace Tessor::Test
