#define TESSOR_KERNELS GetAudioKernelsBaseline
#include "Proc/Algorithms/AudioAlg/AudioKernels.inc"
