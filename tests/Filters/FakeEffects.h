#pragma once

#include "effects/EffectBaseOneInput.h"
#include "effects/IEffectFactory.h"
#include "effects/IResize.h"
#include "effects/ITwoInputEffectVideo.h"
#include "host/ImplNames.h"
#include "tests/support/Decorators.h"

namespace Tessor::Test
{

/// How an effect of a class and an implementation behaves. All do nothing unless told.
struct FakeBehaviour
{
    FrameAllocType memory = FRAME_ALLOC_CPU;
    std::function<bool(Proc::IData&)> drops = nullptr; ///< items that come out as null
    bool moves = false;                                ///< brings frames into the other memory
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
    Core::Property GetStatistic() const override { return Core::Property(tree.GetName() + " statistics"); }
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
    FrameAllocType GetFrameAllocType() const override { return behaviour.memory; }
    void Process(SP<Item>& item) override
    {
        Note(item ? "Process" : "Process(null)");
        if (item && behaviour.drops && behaviour.drops(*item))
            item = nullptr;
        if (auto* frame = dynamic_cast<FakeFrame*>(item.get()); frame && behaviour.moves)
            frame->memory = frame->memory == FRAME_ALLOC_OGL ? FRAME_ALLOC_CPU : FRAME_ALLOC_OGL;
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
    using Name = const std::string&;
    using VideoData = const SP<const Proc::IFactoryDataVideo>&;

    static SP<FakeEffectFactory> Create() { return SP<FakeEffectFactory>(new FakeEffectFactory); }

    SP<Proc::IOneInputEffectVideo> CreateEffectVideo(Name classId, Name implName, VideoData) const override
    {
        return Make<FakeEffect<Proc::IOneInputEffectVideo>>(classId, implName);
    }
    SP<Proc::IOneInputEffectAudio> CreateEffectAudio(Name classId, Name implName,
                                                     const SP<const Proc::IFactoryDataAudio>&) const override
    {
        return Make<FakeEffect<Proc::IOneInputEffectAudio>>(classId, implName);
    }
    SP<Proc::ITwoInputEffectVideo> CreateTwoInputEffectVideo(Name, Name, VideoData) const override { return nullptr; }
    SP<Proc::IEffect> CreateEffect(Name classId, const Core::Property& settings, const SP<Proc::IStream>&,
                                   Name implName, VideoData) const override
    {
        const auto effect = Make<FakeResize>(classId, implName);
        effect->Initialize(settings);
        return effect;
    }
    std::vector<std::string> ListVideoImplementations(Name classId) const override
    {
        const auto found = implementations.find(classId);
        return found == implementations.end() ? std::vector{Proc::ImplNames::TESSOR} : found->second;
    }
    std::vector<std::string> ListAudioImplementations(Name classId) const override
    {
        return ListVideoImplementations(classId);
    }

    std::map<std::string, FakeBehaviour> behaviours;
    std::map<std::string, std::vector<std::string>> implementations; // by class; of others TESSOR
    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();

private:
    template <class Effect>
    SP<Effect> Make(Name classId, Name implName) const
    {
        log->Add("new " + classId + "/" + implName);
        const auto found = behaviours.find(classId);
        return SP<Effect>(new Effect(classId, found == behaviours.end() ? FakeBehaviour() : found->second, log));
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
