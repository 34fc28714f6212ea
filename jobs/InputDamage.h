#pragma once

#include "ffhost/io/Damage.h"
#include "jobs/reports/JobReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Warns of what is wrong with the file of that name, in a line; of nothing where it is whole.
void AddDamage(const std::string& path, const Host::Damage& damage, std::vector<std::string>& warnings);

/// Warns of packets and pictures of `what` that no decoder could make out.
void AddUndecodable(const std::string& what, long long count, std::vector<std::string>& warnings);

/// The same for all tracks, as the records of their decoders count them.
void AddUndecodable(const Statistics& statistics, std::vector<std::string>& warnings);

} // namespace Tessor::Jobs
