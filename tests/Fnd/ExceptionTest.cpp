#include "Fnd/Exception.h"

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

using namespace Tessor;

namespace
{

/// Throws an E on a thread, and expects it here with all its bases and records.
template <class E, class... Bases>
void ExpectWhole()
{
    std::exception_ptr stored;
    const auto fail = [&]
    {
        try
        {
            Throw<E>(TESSOR_HERE, "the text");
        }
        catch (...)
        {
            stored = std::current_exception();
        }
    };
    boost::thread(fail).join();
    try
    {
        Rethrow(stored);
    }
    catch (const E& e)
    {
        EXPECT_TRUE(dynamic_cast<const boost::exception_detail::clone_base*>(&e)) << "a host may clone it";
        EXPECT_TRUE((dynamic_cast<const Bases*>(&e) && ...));
        EXPECT_EQ(Describe(e), "the text");
        const auto& records = dynamic_cast<const boost::exception&>(e);
        EXPECT_FALSE(boost::get_error_info<TagCallStack>(records)->empty());
        const std::string file = *boost::get_error_info<boost::throw_file>(records);
        EXPECT_NE(file.find("ExceptionTest"), std::string::npos);
        EXPECT_NE(boost::get_error_info<boost::throw_function>(records), nullptr);
        EXPECT_GT(*boost::get_error_info<boost::throw_line>(records), 0);
    }
}

} // namespace

TEST(Exception, KeepsItsBasesAndRecordsAcrossAThread)
{
    using namespace Core;
    using namespace Proc;
    ExpectWhole<IOException, CoreException, Exception>();
    ExpectWhole<MethodIsNotApplicable, PropertyException, CoreException, Exception>();
    ExpectWhole<NotEnoughResource, ComputingResourceException, CoreException, Exception>();
    ExpectWhole<AlgorithmException, FilterException, ProcException, Exception>();
    ExpectWhole<std::invalid_argument, std::logic_error>(); // standard ones carry the records, too
    EXPECT_EQ(Describe(std::runtime_error("plain")), "plain");
}
