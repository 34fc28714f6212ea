#include "Proc/Algorithms/AudioAlg/AudioKernels.h"

namespace Tessor::Proc
{

bool HasAvx2()
{
#ifdef __x86_64__
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
#else
    return false;
#endif
}

const AudioKernels& GetAudioKernels()
{
    return HasAvx2() ? GetAudioKernelsAvx2() : GetAudioKernelsBaseline();
}

} // namespace Tessor::Proc
