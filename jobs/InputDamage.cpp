#include "jobs/InputDamage.h"

#include "Fnd/Plural.h"

namespace Tessor::Jobs
{

void AddDamage(const std::string& path, const Host::Damage& damage, std::vector<std::string>& warnings)
{
    if (damage.IsNone())
        return;
    std::string text = path + ": damaged after " + T2S(damage.after);
    if (damage.packets > 0)
        text += ": " + Count(damage.packets, "damaged packet");
    if (damage.promised != NoTime)
        text += ": the end of the file is missing, which is to last " + T2S(damage.promised);
    warnings.push_back(text);
}

} // namespace Tessor::Jobs
