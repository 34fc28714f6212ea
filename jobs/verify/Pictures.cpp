#include "jobs/verify/Pictures.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace Tessor::Jobs
{

namespace
{

template <class Sample>
double SquaredError(const uint8_t* a, const uint8_t* b, size_t bytes)
{
    double sum = 0;
    for (size_t i = 0; i + sizeof(Sample) <= bytes; i += sizeof(Sample))
    {
        Sample x, y;
        std::memcpy(&x, a + i, sizeof(Sample));
        std::memcpy(&y, b + i, sizeof(Sample));
        const double difference = static_cast<double>(x) - static_cast<double>(y);
        sum += difference * difference;
    }
    return sum;
}

} // namespace

double PictureRatio(const Proc::IDataVideo& a, const Proc::IDataVideo& b)
{
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight() || a.GetPixFmt() != b.GetPixFmt())
        return 0;
    const int depth = PixFmtDescription::Find(a.GetPixFmt()).GetDepth();
    const size_t sampleBytes = depth > 8 ? 2 : 1;
    double error = 0, samples = 0;
    for (int plane = 0; plane < Proc::GetPlanesCount(a); ++plane)
    {
        const auto from = a.GetPlane(plane), to = b.GetPlane(plane);
        for (size_t row = 0; row < from.GetHeight(); ++row)
        {
            const uint8_t* x = from.GetOffsetPtr(0, row);
            const uint8_t* y = to.GetOffsetPtr(0, row);
            samples += static_cast<double>(from.GetRowBytes() / sampleBytes);
            // most pictures are copies, whose rows are compared far quicker than summed up
            if (std::memcmp(x, y, from.GetRowBytes()) == 0)
                continue;
            error += sampleBytes == 1 ? SquaredError<uint8_t>(x, y, from.GetRowBytes())
                                      : SquaredError<uint16_t>(x, y, from.GetRowBytes());
        }
    }
    if (error == 0)
        return std::numeric_limits<double>::infinity();
    const double peak = std::pow(2.0, depth) - 1;
    return 10 * std::log10(peak * peak * samples / error);
}

} // namespace Tessor::Jobs
