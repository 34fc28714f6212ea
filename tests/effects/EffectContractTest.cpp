#include "Proc/Settings/SettingsField.h"
#include "effects/EffectBaseOneInput.h"
#include "effects/IFactoryDataVideo.h"
#include "tests/support/FakeItems.h"

#include <gtest/gtest.h>

namespace Tessor::Proc
{
namespace
{

enum class Shape
{
    Round,
    Square
};

class SettingsSample final : public SettingsOf<SettingsSample>
{
public:
    inline static const std::string CLASS_ID = "SettingsSample";
    static const std::vector<SettingsField<SettingsSample>>& GetFields()
    {
        static const std::vector<SettingsField<SettingsSample>> fields = {
            {"gain", &SettingsSample::gain, "gain, 1 for unity", {0.0, 4.0}},
            {"count", &SettingsSample::count, "items"},
            {"on", &SettingsSample::on, "whether"},
            {"shape", &SettingsSample::shape, "of all", std::vector<std::string>{"round", "square"}},
        };
        return fields;
    }

    double gain = 1.0;
    int count = 3;
    bool on = false;
    Shape shape = Shape::Round;
};

TEST(SettingsOf, TreesGoThereAndBack)
{
    SettingsSample settings;
    settings.gain = 2.5;
    settings.count = -7;
    settings.on = true;
    settings.shape = Shape::Square;
    SettingsSample other;
    EXPECT_FALSE(settings.IsEqualTo(other));
    other.FromProperty(settings.ToProperty());
    EXPECT_TRUE(settings.IsEqualTo(other));
    EXPECT_EQ(other.Describe()[0].value.GetDouble(), 1.0) << "what is described are the defaults";
}

TEST(SettingsOf, WrongValuesChangeNothing)
{
    const Core::Property wrong[] = {
        Core::Property("gain", 4.5),     Core::Property("gain", std::numeric_limits<double>::quiet_NaN()),
        Core::Property("gain", 1),       Core::Property("count", 3000000000LL),
        Core::Property("shape", "oval"), Core::Property("colour", "red"),
    };
    for (const Core::Property& value : wrong)
    {
        SettingsSample settings;
        Core::Property tree(SettingsSample::CLASS_ID);
        tree.Add(Core::Property("on", true));
        tree.Add(value);
        EXPECT_THROW(settings.FromProperty(tree), SettingsException) << value.GetName();
        EXPECT_TRUE(settings.IsEqualTo(SettingsSample())) << value.GetName();
    }
}

/// Holds the first block back for ever.
struct Hold final : EffectBaseOneInput<IOneInputEffectAudio, SettingsSample, IFactoryDataAudio>
{
    Hold() : EffectBaseOneInput(nullptr) {}
    void ProcessItem(SP<IDataAudio>& block) override { block = std::exchange(drop, false) ? nullptr : block; }
    bool drop = true;
};

TEST(EffectBaseOneInput, TakesOneInputAndCountsWhatComesOut)
{
    const SP<Hold> effect(new Hold);
    const Tessor::Test::ScriptItem item = Tessor::Test::ParseScript("0").front();
    const SP<IDataAudio> block = Tessor::Test::CreateBlock(item);
    EXPECT_THROW(effect->Apply({block, block}), std::invalid_argument);
    EXPECT_THROW(effect->Apply({Tessor::Test::CreateFrame(item)}), std::bad_cast);
    EXPECT_FALSE(effect->Apply({block}));
    EXPECT_EQ(effect->Apply({block}), block);
    EXPECT_FALSE(effect->Apply({nullptr}));
    EXPECT_EQ(effect->GetStatistic()["count"].GetInt64(), 1);
    effect->SetTimeToProgress({1000000, 3000000});
    EXPECT_EQ(effect->GetTimeToProgress().GetProgress(1500000), 0.25) << "linear";
}

} // namespace
} // namespace Tessor::Proc
