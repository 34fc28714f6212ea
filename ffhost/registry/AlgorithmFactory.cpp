#include "ffhost/registry/AlgorithmFactory.h"

#include "ffhost/effects/AudioFormatter.h"

namespace Tessor::Host
{

using namespace Proc;

namespace
{

RegistryEntry GetFormatterEntry()
{
    return {"audio algorithm", IAudioFormatter::CLASS_ID, {ImplNames::TESSOR}};
}

} // namespace

SP<IAudioFormatter> AlgorithmFactory::CreateAudioFormatter(const std::string& implName) const
{
    FindImplementation<AlgorithmException>(GetFormatterEntry(), implName, DefaultImplementation::Own);
    return SP<IAudioFormatter>(new AudioFormatter);
}

std::vector<RegistryEntry> AlgorithmFactory::List() const
{
    return {GetFormatterEntry()};
}

} // namespace Tessor::Host
