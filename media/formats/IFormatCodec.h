#pragma once

#include "Fnd/Property/Property.h"
#include "Fnd/RefCount.h"
#include "media/items/IBlob.h"

#include <string>

namespace Tessor::Conf
{

/// The neutral description of a stream's format: a property tree under named tags, and the codec's extradata. The
/// strings are stable: hosts store them.
class TESSOR_API IFormatCodec : public virtual IRefCountable
{
public:
    inline static const std::string TAG_CODEC_ID = "CodecID";
    inline static const std::string TAG_BITRATE = "Bitrate";                         ///< int64, bits per second
    inline static const std::string TAG_PROFILE = "Profile";                         ///< string
    inline static const std::string TAG_ORIGINAL_DURATION = "OriginalDuration";      ///< int64, microseconds
    inline static const std::string TAG_CODEC_OPTIONS_ENCODE = "CodecOptionsEncode"; ///< node
    inline static const std::string CODEC_ID_NONE = "none";

    SP<IFormatCodec> Clone() const { return SP<IFormatCodec>(CloneInternal()); }
    virtual Core::Property& GetProperties() = 0;
    virtual const Core::Property& GetProperties() const = 0;
    /// Applies a tree to this one, child by child. Throws Core::MethodIsNotApplicable for anything but a node.
    virtual void Merge(const Core::Property& properties) = 0;
    /// The codec's global header, null when there is none. Clones share it.
    virtual SP<const Proc::IBlob> GetExtradata() const = 0;
    virtual void SetExtradata(const SP<const Proc::IBlob>& extradata) = 0;

    /// TAG_CODEC_ID, or CODEC_ID_NONE.
    std::string GetCodecID() const;

private:
    virtual IFormatCodec* CloneInternal() const = 0;
};

} // namespace Tessor::Conf
