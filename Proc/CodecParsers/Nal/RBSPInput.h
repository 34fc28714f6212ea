#pragma once

#include "Fnd/DataInputMemory.h"
#include "Proc/CodecParsers/Nal/Nalu.h"

namespace Tessor::Proc::CodecParsers
{

/// Reads the bits of a unit's RBSP after the NAL header, which is of 8 bits in H.264 and of 16 in HEVC.
class RBSPInput
{
public:
    RBSPInput(const Nalu& unit, unsigned headerBits)
        : bytes(RemoveEmulationByte(unit.first, unit.second)),
          bits(Core::DataInputMemory::Create(bytes.data(), bytes.size()))
    {
        bits.ReadBits(headerBits);
    }

private:
    const std::vector<uint8_t> bytes;

public:
    Core::DataBitInput bits; // over the bytes
};

} // namespace Tessor::Proc::CodecParsers
