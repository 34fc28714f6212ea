#include "Fnd/Exception.h"

#include <boost/exception_ptr.hpp>
#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

using namespace Tessor;

namespace
{

/// Throws an E on a thread, and expects that a handler for each of the bases gets it here with all its records.
template <class E, class... Bases>
void ExpectCaughtAs()
{
    boost::exception_ptr stored;
    const auto fail = [&]
    {
        try
        {
            Throw<E>(TESSOR_HERE, "the text");
        }
        catch (...)
        {
            stored = boost::current_exception();
        }
    };
    boost::thread(fail).join();
    const auto expectCaught = [&]<class Base>(std::type_identity<Base>)
    {
        try
        {
            boost::rethrow_exception(stored);
        }
        catch (const Base& e)
        {
            EXPECT_EQ(Describe(dynamic_cast<const std::exception&>(e)), "the text");
            const auto& records = dynamic_cast<const boost::exception&>(e);
            ASSERT_NE(boost::get_error_info<TagCallStack>(records), nullptr);
            EXPECT_FALSE(boost::get_error_info<TagCallStack>(records)->empty());
            EXPECT_NE(std::string(*boost::get_error_info<boost::throw_file>(records)).find("ExceptionTest"),
                      std::string::npos);
            EXPECT_NE(boost::get_error_info<boost::throw_function>(records), nullptr);
            EXPECT_GT(*boost::get_error_info<boost::throw_line>(records), 0);
        }
    };
    (expectCaught(std::type_identity<Bases>()), ...);
    (expectCaught(std::type_identity<E>()), expectCaught(std::type_identity<std::exception>()));
}

} // namespace

TEST(Exception, IsCaughtAsEachOfItsBasesBehindAThread)
{
    using namespace Core;
    using namespace Proc;
    ExpectCaughtAs<IOException, CoreException, Exception>();
    ExpectCaughtAs<MethodIsNotApplicable, PropertyException, CoreException, Exception>();
    ExpectCaughtAs<NotEnoughResource, ComputingResourceException, CoreException, Exception>();
    ExpectCaughtAs<SettingsException, ProcException, Exception>();
    ExpectCaughtAs<AlgorithmException, FilterException, ProcException, Exception>();
    ExpectCaughtAs<EffectException, ProcException, Exception>();
    ExpectCaughtAs<EncoderException, ProcException, Exception>();
    ExpectCaughtAs<CodecFactoryException, ProcException, Exception>();
    ExpectCaughtAs<std::invalid_argument, std::logic_error>(); // standard ones carry the records, too
    EXPECT_EQ(Describe(std::runtime_error("plain")), "plain");
}
