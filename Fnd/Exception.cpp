#include "Fnd/Exception.h"

namespace Tessor
{

std::string Describe(const std::exception& e)
{
    const std::string* text = boost::get_error_info<TagDescription>(e);
    return text ? *text : e.what();
}

} // namespace Tessor
