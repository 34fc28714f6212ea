#pragma once

#include "Fnd/Export.h"

#include <memory>

struct AVPacket;

namespace Tessor::Host
{

struct TESSOR_API PacketDeleter
{
    void operator()(AVPacket* packet) const;
};

/// An AVPacket of libavformat, owned.
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

} // namespace Tessor::Host
