#define TESSOR_KERNELS GetAudioKernelsAvx2
#include "Proc/Algorithms/AudioAlg/AudioKernels.inc"
