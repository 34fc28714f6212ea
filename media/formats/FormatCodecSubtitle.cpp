#include "media/formats/FormatCodecSubtitle.h"

namespace Tessor::Conf
{

SP<IFormatCodecSubtitle> IFormatCodecSubtitle::Create()
{
    return SP<IFormatCodecSubtitle>(new FormatCodecSubtitle);
}

std::string FormatCodecSubtitle::GetSubtitleHeader() const
{
    return properties.ChildExists(TAG_SUBTITLE_HEADER) ? properties[TAG_SUBTITLE_HEADER].GetString() : std::string();
}

} // namespace Tessor::Conf
