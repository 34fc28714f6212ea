#include "jobs/cut/GroupPlan.h"

namespace Tessor::Jobs
{

const char* ActionName(GroupPlan::Action action)
{
    switch (action)
    {
    case GroupPlan::Action::Copy:
        return "copy";
    case GroupPlan::Action::Recode:
        return "re-encode";
    case GroupPlan::Action::Drop:
        break;
    }
    return "drop";
}

} // namespace Tessor::Jobs
