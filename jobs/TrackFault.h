#pragma once

#include "Fnd/Exception.h"
#include "ffhost/io/reading/ReadFailure.h"
#include "jobs/JobError.h"

#include <new>
#include <string>

namespace Tessor::Jobs
{

/// Does something with one track, and returns why its data did not allow it; empty where it did. What is no fault of
/// the data ends the job: the disk's and the memory's failures, and a job that is cancelled.
template <class Work>
std::string FindFault(Work work)
try
{
    work();
    return "";
}
catch (const JobError&)
{
    throw;
}
catch (const Host::ReadFailure&)
{
    throw;
}
catch (const std::bad_alloc&)
{
    throw;
}
catch (const std::exception& e)
{
    return Describe(e);
}

} // namespace Tessor::Jobs
