#pragma once

#include "media/formats/IFormatCodec.h"

#include <nlohmann/json.hpp>

namespace Tessor::Jobs
{

/// A codec's header as our parsers read it: the fields under the names of the standards, "error" when the header is
/// faulty, null when there is no header or no parser for the codec.
nlohmann::ordered_json DescribeHeader(const Conf::IFormatCodec& format);

} // namespace Tessor::Jobs
