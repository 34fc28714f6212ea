#pragma once

#include "Fnd/CallStack.h"
#include "Fnd/Export.h"

#include <boost/assert/source_location.hpp>
#include <boost/exception/all.hpp>
#include <boost/throw_exception.hpp>
#include <exception>
#include <string>
#include <type_traits>

/// The place of a throw: file, pretty signature of the function, line.
#define TESSOR_HERE BOOST_CURRENT_LOCATION

namespace Tessor
{

/// The message of an exception.
using TagDescription = boost::error_info<struct TagDescriptionRecord, std::string>;
/// Where it was thrown from.
using TagCallStack = boost::error_info<struct TagCallStackRecord, std::string>;

/// Root of the system's failures: an empty object whose text lies in the attached records.
class TESSOR_API Exception : public virtual std::exception, public virtual boost::exception
{
};

namespace Core
{

class TESSOR_API CoreException : public virtual Exception
{
};
/// Reading or writing of data failed, or ran past its end.
class TESSOR_API IOException : public virtual CoreException
{
};
class TESSOR_API PropertyException : public virtual CoreException
{
};
/// An operation on a property whose type does not allow it.
class TESSOR_API MethodIsNotApplicable : public PropertyException
{
};
class TESSOR_API ComputingResourceException : public virtual CoreException
{
};
/// A resource is busy: the caller may try again later.
class TESSOR_API NotEnoughResource : public ComputingResourceException
{
};

} // namespace Core

namespace Proc
{

class TESSOR_API ProcException : public virtual Exception
{
};
class TESSOR_API FilterException : public virtual ProcException
{
};
class TESSOR_API SettingsException : public virtual ProcException
{
};
class TESSOR_API AlgorithmException : public virtual FilterException
{
};
class TESSOR_API EffectException : public virtual ProcException
{
};
class TESSOR_API EncoderException : public virtual ProcException
{
};
class TESSOR_API CodecFactoryException : public virtual ProcException
{
};

} // namespace Proc

/// Attaches the call stack and returns the same exception.
template <class E>
E AddStack(E e)
{
    e << TagCallStack(GetCallStack());
    return e;
}

/// Throws an E with its text, the call stack and the place. The family takes the text as TagDescription, standard
/// exceptions take it in their constructor.
template <class E>
[[noreturn]] void Throw(const boost::source_location& where, const std::string& text)
{
    if constexpr (std::is_base_of_v<Exception, E>)
    {
        E e;
        e << TagDescription(text);
        boost::throw_exception(AddStack(std::move(e)), where);
    }
    else
    {
        boost::throw_exception(AddStack(boost::enable_error_info(E(text))), where);
    }
}

/// Throws what another thread has left. What was thrown with boost::throw_exception comes as a copy with records of its
/// own, because those are counted without regard to threads: the copies of two throws share nothing, and one may be
/// held while the stored one is replaced. Anything else is that very object. The caller guards `stored` with a mutex.
[[noreturn]] TESSOR_API void Rethrow(const std::exception_ptr& stored);

/// The message for a person: the description when there is one, otherwise what().
TESSOR_API std::string Describe(const std::exception& e);

} // namespace Tessor
