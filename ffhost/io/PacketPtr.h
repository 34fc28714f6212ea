#pragma once

#include <memory>

struct AVPacket;

namespace Tessor::Host
{

struct PacketDeleter
{
    void operator()(AVPacket* packet) const;
};

/// An AVPacket of libavformat, owned.
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

} // namespace Tessor::Host
