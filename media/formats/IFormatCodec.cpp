#include "media/formats/IFormatCodec.h"

namespace Tessor::Conf
{

std::string IFormatCodec::GetCodecID() const
{
    const Core::Property& tree = GetProperties();
    return tree.ChildExists(TAG_CODEC_ID) ? tree[TAG_CODEC_ID].GetString() : CODEC_ID_NONE;
}

} // namespace Tessor::Conf
