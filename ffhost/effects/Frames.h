#pragma once

#include "ffhost/codecs/AvCodec.h"
#include "media/items/IDataAudio.h"
#include "media/items/IDataVideo.h"

#include <boost/container/small_vector.hpp>
#include <vector>

/// Items as FFmpeg's records and back. Records carry the times in microseconds, in `pts` and what FFmpeg::DurationOf
/// gives.
namespace Tessor::Host
{

/// A record without a picture. Throws std::bad_alloc.
FramePtr MakeFrame();

/// A record that shares the frame's picture where the frame has a record itself, otherwise one with a copy.
FramePtr ShareFrame(const Proc::IDataVideo& frame);
/// A record that shares the block's samples, which its readers must not write.
FramePtr ShareSamples(const SP<Proc::IDataAudio>& block);

/// The record's picture as an item of its times. Throws EffectException for a picture that is not in main memory.
SP<Proc::IDataVideo> WrapFrame(FramePtr frame);
/// The samples of several records of one format as one block without times. Throws EffectException for channels or
/// samples that blocks don't have.
SP<Proc::IDataAudio> JoinSamples(const std::vector<FramePtr>& frames);

/// Makes the item's picture its own and gives the record, which lives with the item.
AVFrame& MakeWritable(SP<Proc::IDataVideo>& frame);

/// The samples' format of a record.
Conf::SampleInfo GetSampleInfo(const AVFrame& frame);

/// One for each plane of a block; few channels take no memory.
using Planes = boost::container::small_vector<uint8_t*, 8>;

/// Where the planes of a block begin; the number of its channels for planar formats, otherwise one.
Planes GetPlanes(const Proc::AudioRef& audio);

/// Copies `count` samples of a block into another one of the same format.
void CopySamples(const Proc::AudioRef& from, int fromIndex, const Proc::AudioRef& to, int toIndex, int count);

} // namespace Tessor::Host
