#pragma once

#include "ffhost/io/Damage.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Warns of what is wrong with the file of that name, in a line; of nothing where it is whole.
void AddDamage(const std::string& path, const Host::Damage& damage, std::vector<std::string>& warnings);

} // namespace Tessor::Jobs
