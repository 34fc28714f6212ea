#pragma once

#include "ffhost/io/MediaInfo.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/IDataAudio.h"
#include "media/items/IDataVideo.h"
#include "tests/support/FakeItems.h"

struct AVFrame;

namespace Tessor::Host::Tests
{

/// A picture of smooth waves that move with `number`, in all bytes of all planes. It stands for 40 ms from
/// 1 s + number * 40 ms on.
SP<Proc::IDataVideo> MakePicture(PixFmt format, int width, int height, int number = 0);

AVFrame& GetRecord(const SP<Proc::IDataVideo>& frame);

/// 99 for the same bytes.
double FindPsnr(const Proc::IDataVideo& a, const Proc::IDataVideo& b);

SP<Conf::IFormatCodecVideo> MakeVideoFormat(PixFmt format, int width, int height, int parWidth = 1, int parHeight = 1);

/// A sine of 0.05 radian a sample in every channel where samples are packed floats, else silence; from sample `first`
/// on.
SP<Proc::IDataAudio> MakeSound(const Conf::SampleInfo& info, int count, long long first = 0);

/// Of a file, as far as it takes to look at its packets or to write them.
TrackInfo MakeTrack(MediaType type, AVCodecID codec, const Tessor::Test::Bytes& header = {}, int rate = 0);

} // namespace Tessor::Host::Tests
