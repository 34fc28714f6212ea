#pragma once

#include "media/formats/IFormatCodec.h"

namespace Tessor::Conf
{

/// The format of a subtitle stream.
class TESSOR_API IFormatCodecSubtitle : public virtual IFormatCodec
{
public:
    inline static const std::string TAG_SUBTITLE_HEADER = "SubtitleHeader"; ///< string, the script's header

    static SP<IFormatCodecSubtitle> Create();
    SP<IFormatCodecSubtitle> Clone() const { return SP<IFormatCodecSubtitle>(CloneInternal()); }

    /// The header of the script; empty when there is none.
    virtual std::string GetSubtitleHeader() const = 0;

private:
    IFormatCodecSubtitle* CloneInternal() const override = 0;
};

} // namespace Tessor::Conf
