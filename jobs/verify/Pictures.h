#pragma once

#include "media/items/IDataVideo.h"

namespace Tessor::Jobs
{

/// Peak signal to noise ratio of two pictures over all planes, in dB: infinite when they are equal, 0 when they differ
/// in size or format.
double PictureRatio(const Proc::IDataVideo& a, const Proc::IDataVideo& b);

} // namespace Tessor::Jobs
