#include "Fnd/Exception.h"

#include <memory>

namespace Tessor
{

void Rethrow(const std::exception_ptr& stored)
{
    try
    {
        std::rethrow_exception(stored);
    }
    catch (const boost::exception_detail::clone_base& e)
    {
        // a copy has records of its own, which no other thread counts
        const std::unique_ptr<const boost::exception_detail::clone_base> copy(e.clone());
        copy->rethrow();
        throw; // never reached: rethrow() is not marked as one that does not return
    }
}

std::string Describe(const std::exception& e)
{
    const std::string* text = boost::get_error_info<TagDescription>(e);
    return text ? *text : e.what();
}

} // namespace Tessor
