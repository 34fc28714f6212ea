#include "cli/options/OptionTable.h"

#include <sstream>

namespace Tessor::Cli
{

std::vector<std::string> Option::GetWords() const
{
    return choices.empty() && suggestions ? suggestions() : choices;
}

std::vector<std::string> Option::GetNames() const
{
    std::vector<std::string> list;
    std::istringstream in(names);
    for (std::string name; std::getline(in, name, ',');)
        list.push_back(name);
    return list;
}

} // namespace Tessor::Cli
