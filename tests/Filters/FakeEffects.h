#pragma once

#include "effects/EffectBaseOneInput.h"
#include "effects/IEffectFactory.h"
#include "effects/IResize.h"
#include "effects/ITwoInputEffectVideo.h"
#include "host/ImplNames.h"
#include "tests/support/CallLog.h"
#include "tests/support/Decorators.h"
#include "tests/support/FakeItems.h"

#include <functional>
#include <map>

namespace Tessor::Test
{

/// A frame that says of its memory and its fields what a test wants; its one plane is that of the frame behind it.
class FakeFrame final : public FakeItem<Proc::IDataVideo>
{
public:
    static SP<FakeFrame> Create(Proc::IDataVideo& inner, FrameAllocType type, bool interlaced)
    {
        return SP<FakeFrame>(new FakeFrame(inner, type, interlaced));
    }

    FrameAllocType GetFrameAllocType() const override { return type; }
    int GetWidth() const override { return inner->GetWidth(); }
    int GetHeight() const override { return inner->GetHeight(); }
    PixFmt GetPixFmt() const override { return inner->GetPixFmt(); }
    bool IsInterlaced() const override { return interlaced; }
    Proc::Details::PlaneTemplate<false> GetPlane(int index) override { return inner->GetPlane(index); }
    Proc::Details::PlaneTemplate<true> GetPlane(int index) const override
    {
        return static_cast<const Proc::IDataVideo&>(*inner).GetPlane(index);
    }
    SP<Proc::IDataVideo> MakeWritableCopy() const override { return Clone(1); }
    SP<Proc::IDataVideo> Clone(int) const override { return SP<Proc::IDataVideo>(new FakeFrame(*this)); }
    void Fill(const Color& color) override { inner->Fill(color); }

    FrameAllocType type;

private:
    FakeFrame(Proc::IDataVideo& inner, FrameAllocType type, bool interlaced)
        : FakeItem(Times(inner)), type(type), inner(&inner), interlaced(interlaced)
    {
    }
    FakeFrame(const FakeFrame&) = default;
    static ScriptItem Times(const Proc::IDataVideo& frame)
    {
        ScriptItem item;
        item.pts = frame.GetPTS();
        item.duration = frame.GetDuration();
        return item;
    }

    const SP<Proc::IDataVideo> inner;
    const bool interlaced;
};

/// Replaces every frame of a stream by what a function makes of it.
class MappedVideo final : public PassThrough<Proc::IStreamVideo>
{
public:
    using Map = std::function<SP<Proc::IDataVideo>(const SP<Proc::IDataVideo>&)>;

    static SP<MappedVideo> Create(const SP<Proc::IStreamVideo>& parent, const Map& map)
    {
        return SP<MappedVideo>(new MappedVideo(parent, map));
    }
    /// All frames in memory of one kind.
    static SP<MappedVideo> InMemory(const SP<Proc::IStreamVideo>& parent, FrameAllocType type)
    {
        return Create(parent,
                      [type](const SP<Proc::IDataVideo>& frame) -> SP<Proc::IDataVideo>
                      { return FakeFrame::Create(*frame, type, false); });
    }

private:
    MappedVideo(const SP<Proc::IStreamVideo>& parent, const Map& map) : PassThrough(parent), map(map) {}

    SP<Proc::IDataVideo> ReadInternal() override
    {
        const SP<Proc::IDataVideo> frame = PassThrough::ReadInternal();
        return frame ? map(frame) : nullptr;
    }

    const Map map;
};

/// How an effect of a class and an implementation behaves. All do nothing unless told.
struct FakeBehaviour
{
    FrameAllocType type = FRAME_ALLOC_CPU;
    std::function<void(SP<Proc::IDataVideo>&)> video;
    std::function<void(SP<Proc::IDataAudio>&)> audio;
    bool failsToInitialise = false;
};

/// An effect that writes what is asked of it to a log under its name: "a.Process a.Process(null)". Trees and typed
/// settings are kept and given back.
template <class Interface>
class FakeEffect : public virtual Interface, public RefCountImpl
{
public:
    using Item = typename Interface::Item;

    FakeEffect(const std::string& classId, const FakeBehaviour& behaviour, const std::shared_ptr<CallLog>& log)
        : tree(classId), behaviour(behaviour), log(log)
    {
    }

    Core::Property GetSettings() const override { return tree; }
    void Initialize(const Core::Property& settings) override { tree = settings; }
    void ReleaseInternalData() override { Note("Release"); }
    SP<Proc::IData> Apply(const std::vector<SP<Proc::IData>>& inputs) override { return inputs.at(0); }
    Core::Property GetStatistic() const override
    {
        Note("Statistic");
        return Core::Property(tree.GetName() + " statistics");
    }
    void Initialise(const Proc::Settings& newSettings) override
    {
        if (behaviour.failsToInitialise)
            Throw<Proc::EffectException>(TESSOR_HERE, "a fake that fails");
        settings.reset(newSettings.Clone());
    }
    const Proc::Settings& GetEffectSettings() const override { return *settings; }
    Proc::Settings& GetEffectSettings() override { return *settings; }
    Proc::TimeToProgress& GetTimeToProgress() override { return range; }
    const Proc::TimeToProgress& GetTimeToProgress() const override { return range; }
    void SetTimeToProgress(const Proc::TimeToProgress& newRange) override { range = newRange; }
    FrameAllocType GetFrameAllocType() const override { return behaviour.type; }
    void Process(SP<Item>& item) override
    {
        Note(item ? "Process" : "Process(null)");
        const auto& action = [this]() -> const auto&
        {
            if constexpr (std::is_same_v<Item, Proc::IDataVideo>)
                return behaviour.video;
            else
                return behaviour.audio;
        }
        ();
        if (action)
            action(item);
    }
    /// Formats tell which effects they have passed.
    void UpdateFormat(SP<typename Interface::Format>& format) override
    {
        std::string passed;
        if (format->GetProperties().ChildExists("passed"))
            passed = format->GetProperties()["passed"].GetString() + " ";
        format->GetProperties().SetChildT("passed", passed + tree.GetName());
    }

private:
    void Note(const std::string& call) const { log->Add(tree.GetName() + "." + call); }

    Core::Property tree;
    const FakeBehaviour behaviour;
    const std::shared_ptr<CallLog> log;
    std::unique_ptr<Proc::Settings> settings;
    Proc::TimeToProgress range;
};

class FakeResize final : public FakeEffect<Proc::IOneInputEffectVideo>, public virtual Proc::IResize
{
public:
    using FakeEffect::FakeEffect;
};

/// Makes fakes of every class; which implementations a class lists and how its effects behave is for tests to say.
/// What was made stands in the log: "new a/Default".
class FakeEffectFactory final : public Proc::IEffectFactory, public RefCountImpl
{
public:
    static SP<FakeEffectFactory> Create() { return SP<FakeEffectFactory>(new FakeEffectFactory); }

    SP<Proc::IOneInputEffectVideo> CreateEffectVideo(const std::string& classId, const std::string& implName,
                                                     const SP<const Proc::IFactoryDataVideo>&) const override
    {
        log->Add("new " + classId + "/" + implName);
        return SP<Proc::IOneInputEffectVideo>(
            new FakeEffect<Proc::IOneInputEffectVideo>(classId, Behaviour(classId), log));
    }
    SP<Proc::IOneInputEffectAudio> CreateEffectAudio(const std::string& classId, const std::string& implName,
                                                     const SP<const Proc::IFactoryDataAudio>&) const override
    {
        log->Add("new " + classId + "/" + implName);
        return SP<Proc::IOneInputEffectAudio>(
            new FakeEffect<Proc::IOneInputEffectAudio>(classId, Behaviour(classId), log));
    }
    SP<Proc::ITwoInputEffectVideo> CreateTwoInputEffectVideo(const std::string&, const std::string&,
                                                             const SP<const Proc::IFactoryDataVideo>&) const override
    {
        return nullptr;
    }
    SP<Proc::IEffect> CreateEffect(const std::string& classId, const Core::Property& settings,
                                   const SP<Proc::IStream>& parent, const std::string& implName,
                                   const SP<const Proc::IFactoryDataVideo>&) const override
    {
        log->Add("new " + classId + "/" + implName + (parent ? " for a stream" : ""));
        const SP<Proc::IEffect> effect(new FakeResize(classId, Behaviour(classId), log));
        effect->Initialize(settings);
        return effect;
    }
    std::vector<std::string> ListVideoImplementations(const std::string& classId) const override
    {
        const auto found = implementations.find(classId);
        return found == implementations.end() ? std::vector{Proc::ImplNames::TESSOR} : found->second;
    }
    std::vector<std::string> ListAudioImplementations(const std::string& classId) const override
    {
        return ListVideoImplementations(classId);
    }

    std::map<std::string, FakeBehaviour> behaviours;
    std::map<std::string, std::vector<std::string>> implementations; // by class; of others TESSOR
    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();

private:
    FakeBehaviour Behaviour(const std::string& classId) const
    {
        const auto found = behaviours.find(classId);
        return found == behaviours.end() ? FakeBehaviour() : found->second;
    }
};

/// Settings of any class, all alike.
struct FakeSettings final : Proc::Settings
{
    explicit FakeSettings(const std::string& id) : id(id) {}
    const std::string& GetClassId() const override { return id; }
    FakeSettings* Clone() const override { return new FakeSettings(*this); }
    const std::string id;
};

} // namespace Tessor::Test
