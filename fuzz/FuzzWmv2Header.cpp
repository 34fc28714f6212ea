// Extradata of WMV2.
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try
    {
        Tessor::Proc::CodecParsers::WMV2_Config config;
        Tessor::Proc::CodecParsers::DecodeWMV2Config(data, size, config);
    }
    catch (const Tessor::Exception&)
    {
    }
    return 0;
}
