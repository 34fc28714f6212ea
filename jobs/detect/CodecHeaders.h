#pragma once

#include "media/formats/IFormatCodec.h"

namespace Tessor::Jobs
{

/// A codec's header as our parsers read it: the fields under the names of the standards, "error" when the header is
/// faulty, empty when there is no header or no parser for the codec.
Core::Property DescribeHeader(const Conf::IFormatCodec& format);

} // namespace Tessor::Jobs
