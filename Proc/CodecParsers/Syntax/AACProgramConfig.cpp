#include "Proc/CodecParsers/Syntax/AACProgramConfig.h"

#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"
#include "media/items/BlobFF.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

/// program_config_element(), from one place to another.
void CopyElement(Core::DataBitInput& input, Core::DataBitOutput& output)
{
    const auto copy = [&](unsigned bits)
    {
        const uint32_t value = input.ReadBits(bits);
        output.WriteBits(value, bits);
        return value;
    };
    const auto copyRun = [&](uint32_t count, unsigned bits)
    {
        for (; count > 0; --count)
            copy(bits);
    };
    copy(4 + 2 + 4); // element_instance_tag, object_type, sampling_frequency_index
    const uint32_t front = copy(4);
    const uint32_t side = copy(4);
    const uint32_t back = copy(4);
    const uint32_t lfe = copy(2);
    const uint32_t associatedData = copy(3);
    const uint32_t coupling = copy(4);
    if (copy(1)) // mono_mixdown_present
        copy(4);
    if (copy(1)) // stereo_mixdown_present
        copy(4);
    if (copy(1)) // matrix_mixdown_idx_present
        copy(2 + 1);
    copyRun(front + side + back, 1 + 4); // is_cpe, tag_select
    copyRun(lfe + associatedData, 4);
    copyRun(coupling, 1 + 4); // is_ind_sw, tag_select
    // byte_alignment(): each side drops or adds as many bits as its own place asks for
    input.SkipBitsToNextByte();
    output.Flush();
    copyRun(copy(8), 8); // comment_field_bytes, comment_field_data
}

} // namespace

bool HasPCE(const uint8_t* data, size_t size)
{
    return size > 0 && data[0] >> 5 == AAC_ID_PCE;
}

SP<const IBlob> CopyPCEData(Core::DataBitInput& input)
{
    const SP<Core::DataOutputString> bytes = Core::DataOutputString::Create();
    Core::DataBitOutput output(bytes);
    CopyElement(input, output);
    const std::string& text = bytes->GetString();
    return BlobFF::Create(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

void WritePCEData(const IBlob& pce, Core::DataBitOutput& output)
{
    Core::DataBitInput input(Core::DataInputMemory::Create(pce.Data(), pce.Size()));
    CopyElement(input, output);
}

SP<const IBlob> ExtractPCEFromASCExtradata(const uint8_t* data, size_t size, Core::ioSize bitPosition)
{
    try
    {
        // from the byte that holds the first bit, so that alignment counts as it does from the start of the data
        const size_t begin = std::min<Core::ioSize>(bitPosition / 8, size);
        Core::DataBitInput input(Core::DataInputMemory::Create(data + begin, size - begin));
        input.ReadBits(bitPosition % 8);
        return CopyPCEData(input);
    }
    catch (const Core::IOException&)
    {
        Throw<Core::IOException>(TESSOR_HERE, "Invalid PCE data");
    }
}

} // namespace Tessor::Proc::CodecParsers
