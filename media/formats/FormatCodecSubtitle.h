#pragma once

#include "media/formats/FormatCodecImpl.h"
#include "media/formats/IFormatCodecSubtitle.h"

namespace Tessor::Conf
{

class FormatCodecSubtitle final : public FormatCodecImpl<IFormatCodecSubtitle>
{
public:
    std::string GetSubtitleHeader() const override;

private:
    FormatCodecSubtitle* CloneInternal() const override { return new FormatCodecSubtitle(*this); }
};

} // namespace Tessor::Conf
