#pragma once

#include "Proc/Settings/SettingsAudioGenerator.h"
#include "Proc/StreamTemplates/IStreamAudioEx.h"

#include <atomic>
#include <mutex>

namespace Tessor::Proc
{

/// A source of sound from a function of the sample's index, or of silence. The index starts at 0 in every block: a
/// wave goes on across blocks only where its period divides their length. Times move by the rounded length of a block.
///
/// Threads: any. One lock covers everything but termination, which changes nothing of what is read; the function runs
/// under it.
class TESSOR_API FilterAudioGenerator final : public virtual IStreamAudioEx, public RefCountImpl
{
public:
    /// Takes SettingsAudioGenerator; others throw std::bad_cast. A format that is none shows in Read.
    static SP<IStreamAudioEx> Create(const Settings& settings);

private:
    FilterAudioGenerator() = default;

    /// There is no form as a tree: throws FilterException, and so does GetSettings.
    void Initialize(const Core::Property& tree) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    avTime GetDuration() const override;
    avTime GetPosition() override;
    SP<IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime time, SP<IStream> partner) override;
    void DoSeek() override {}
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override;
    void Terminate() override { terminated.exchange(true); }
    bool IsTerminated() const override { return terminated; }
    void ReleaseInternalData() override {}
    void Accept(IStreamVisitor& visitor) override;
    SP<IDataAudio> Read() override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override;

    void Initialize(const SettingsAudioGenerator& settings);
    /// Length of the next block, no longer than what is left; 0 at the end.
    avTime GetBlockTime() const;
    void Fill(IDataAudio& block) const;

    mutable std::recursive_mutex mutex;  // guards all below but the flag
    std::atomic<bool> terminated{false}; // for good: a seek does not clear it
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    Conf::SampleInfo sampleInfo{Conf::SampleFormats::None, -1, Conf::ChannelLayout::None}; // from Initialize
    SettingsAudioGenerator settings;                                                       // replaced by Initialize
    avTime position = 0;                                                                   // of the next block
    const long long statisticsTime = 0;
    unsigned long statisticsCount = 0; // blocks delivered
};

} // namespace Tessor::Proc
