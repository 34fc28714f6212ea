#include "Proc/CodecParsers/WMV2CodecParser.h"

#include "Fnd/DataBitInput.h"
#include "Fnd/DataInputMemory.h"

namespace Tessor::Proc::CodecParsers
{

void DecodeWMV2Config(const uint8_t* data, size_t size, WMV2_Config& config)
{
    config = WMV2_Config{};
    Core::DataBitInput input(Core::DataInputMemory::Create(data, size));
    config.frameRate = input.ReadBits(5);
    config.bitRate = input.ReadBits(11);
    config.mspel_bit = input.ReadBits(1);
    config.loop_filter = input.ReadBits(1);
    config.abt_flag = input.ReadBits(1);
    config.j_type_bit = input.ReadBits(1);
    config.top_left_mv_flag = input.ReadBits(1);
    config.per_mb_rl_bit = input.ReadBits(1);
    config.code = input.ReadBits(3);
}

} // namespace Tessor::Proc::CodecParsers
