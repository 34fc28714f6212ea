#include "Fnd/Exception.h"

#include <boost/exception_ptr.hpp>
#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

using namespace Tessor;

namespace
{

/// Throws an E, and expects that a handler for Base gets it with all its records.
template <class E, class Base>
void ExpectCaughtAs()
{
    try
    {
        Throw<E>(TESSOR_HERE, "the text");
    }
    catch (const Base& e)
    {
        const std::exception& caught = dynamic_cast<const std::exception&>(e);
        EXPECT_EQ(Describe(caught), "the text");
        ASSERT_NE(boost::get_error_info<TagCallStack>(e), nullptr);
        EXPECT_FALSE(boost::get_error_info<TagCallStack>(e)->empty());
        ASSERT_NE(boost::get_error_info<boost::throw_file>(e), nullptr);
        EXPECT_NE(std::string(*boost::get_error_info<boost::throw_file>(e)).find("ExceptionTest"), std::string::npos);
        EXPECT_NE(std::string(*boost::get_error_info<boost::throw_function>(e)).find("ExpectCaughtAs"),
                  std::string::npos);
        EXPECT_GT(*boost::get_error_info<boost::throw_line>(e), 0);
        EXPECT_NE(boost::diagnostic_information(e).find("the text"), std::string::npos);
    }
}

template <class E, class... Bases>
void ExpectFamily()
{
    (ExpectCaughtAs<E, Bases>(), ...);
    (ExpectCaughtAs<E, E>(), ExpectCaughtAs<E, Exception>(), ExpectCaughtAs<E, boost::exception>(),
     ExpectCaughtAs<E, std::exception>());
}

} // namespace

TEST(Exception, IsCaughtAsEachOfItsBases)
{
    using namespace Core;
    using namespace Proc;
    ExpectFamily<Exception>();
    ExpectFamily<CoreException>();
    ExpectFamily<IOException, CoreException>();
    ExpectFamily<PropertyException, CoreException>();
    ExpectFamily<MethodIsNotApplicable, PropertyException, CoreException>();
    ExpectFamily<ComputingResourceException, CoreException>();
    ExpectFamily<NotEnoughResource, ComputingResourceException, CoreException>();
    ExpectFamily<ProcException>();
    ExpectFamily<FilterException, ProcException>();
    ExpectFamily<SettingsException, ProcException>();
    ExpectFamily<AlgorithmException, FilterException, ProcException>();
    ExpectFamily<EffectException, ProcException>();
    ExpectFamily<EncoderException, ProcException>();
    ExpectFamily<CodecFactoryException, ProcException>();
}

TEST(Exception, StandardOnesCarryTheRecordsToo)
{
    try
    {
        Throw<std::invalid_argument>(TESSOR_HERE, "the text");
    }
    catch (const std::logic_error& e)
    {
        EXPECT_STREQ(e.what(), "the text");
        EXPECT_EQ(Describe(e), "the text");
        EXPECT_NE(boost::get_error_info<TagCallStack>(e), nullptr);
        EXPECT_NE(boost::get_error_info<boost::throw_function>(e), nullptr);
    }
    EXPECT_EQ(Describe(std::runtime_error("plain")), "plain");
}

TEST(Exception, TravelsBetweenThreads)
{
    boost::exception_ptr stored;
    boost::thread thread(
        [&]
        {
            try
            {
                Throw<Core::MethodIsNotApplicable>(TESSOR_HERE, "from a thread");
            }
            catch (...)
            {
                stored = boost::current_exception();
            }
        });
    thread.join();
    try
    {
        boost::rethrow_exception(stored);
        FAIL();
    }
    catch (const Core::PropertyException& e)
    {
        EXPECT_EQ(Describe(e), "from a thread");
        EXPECT_NE(boost::get_error_info<TagCallStack>(e), nullptr);
        EXPECT_NE(boost::get_error_info<boost::throw_line>(e), nullptr);
    }
}
