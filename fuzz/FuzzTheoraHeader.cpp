// Extradata of Theora.
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try
    {
        Tessor::Proc::CodecParsers::Theora_Config config;
        Tessor::Proc::CodecParsers::DecodeTheoraConfig(data, size, config);
        if (!config.EqualTo(config) || config.setup.size() > size)
            __builtin_trap();
    }
    catch (const Tessor::Exception&)
    {
    }
    return 0;
}
