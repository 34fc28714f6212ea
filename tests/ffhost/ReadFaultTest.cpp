#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/reading/ReadFailure.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::atomic<int> reads_left{-1}; // before the one that fails; below 0 none does

} // namespace

/// Stands before the system's, for all that the test program loads.
extern "C" ssize_t pread(int fd, void* buffer, size_t size, off_t offset)
{
    if (reads_left >= 0 && reads_left-- == 0)
    {
        errno = EIO;
        return -1;
    }
    return syscall(SYS_pread64, fd, buffer, size, offset);
}

namespace Tessor::Host::Tests
{

namespace
{

/// Reads all of a file; the reader seeks before that where `target` is above 0.
size_t CountPackets(const std::string& path, avTime target)
{
    const SP<Demuxer> demuxer = Demuxer::Open(path);
    const SP<Proc::IStreamRaw> stream = demuxer->GetStream(0);
    stream->RequestSeek(target, nullptr);
    stream->DoSeek();
    return ReadItems(*stream).size();
}

} // namespace

// Whichever read fails, and even if only once: while a file is opened, sought or read. Demuxers take it for the end.
TEST(ReadFaultTest, AFailedReadIsNeverTheEndOfTheFile)
{
    for (const char* name : {"h264.mp4", "h264.mkv", "h264.ts", "mpeg4.avi", "theora.ogv", "mp3.mp3", "wmv2.wmv"})
    {
        SCOPED_TRACE(name);
        const std::string path = Tessor::Test::ClipPath(name);
        for (const avTime target : {avTime{0}, SECOND})
        {
            bool reached = true;
            for (int n = 0; reached; n += 1 + n / 8)
            {
                reads_left = n;
                try
                {
                    CountPackets(path, target);
                    reached = reads_left < 0;
                    EXPECT_FALSE(reached) << "read " << n;
                }
                catch (const ReadFailure& e)
                {
                    EXPECT_EQ(Describe(e), path + ": can't be read: the device has failed (input/output error)");
                }
            }
            reads_left = -1;
            EXPECT_GT(CountPackets(path, target), 10u);
        }
    }
}

} // namespace Tessor::Host::Tests
