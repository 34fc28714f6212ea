#include "Fnd/Property/Property.h"
#include "Fnd/Statistics.h"

#include <functional>
#include <gtest/gtest.h>

using namespace Tessor;
using Core::Property;

namespace
{

/// One value of each type, at the index of its code; all of them could pass for "true" or 1.
std::vector<Property> MakeOneOfEach()
{
    return {Property(),          Property("p", 1LL), Property("p", 1.0),
            Property("p", true), Property("p", "1"), Property("p", Property::Ratio(1)),
            Property("p")};
}

template <class Function>
void ExpectNotApplicable(Function function, const char* method, int type)
{
    try
    {
        function();
        FAIL() << method << " passed on type " << type;
    }
    catch (const Core::MethodIsNotApplicable& e)
    {
        EXPECT_EQ(*boost::get_error_info<Core::TagMethodName>(e), method);
        EXPECT_EQ(*boost::get_error_info<Core::TagPropertyType>(e), type);
        EXPECT_NE(boost::get_error_info<Core::TagPropertyName>(e), nullptr);
        EXPECT_NE(boost::get_error_info<TagCallStack>(e), nullptr);
    }
}

} // namespace

TEST(Property, EveryGetterServesItsOwnTypeOnly)
{
    const std::vector<std::pair<const char*, std::function<void(const Property&)>>> getters = {
        {"GetInt64", [](const Property& p) { EXPECT_EQ(p.GetInt64(), 1); }},
        {"GetDouble", [](const Property& p) { EXPECT_EQ(p.GetDouble(), 1.0); }},
        {"GetBool", [](const Property& p) { EXPECT_TRUE(p.GetBool()); }},
        {"GetString", [](const Property& p) { EXPECT_EQ(p.GetString(), "1"); }},
        {"GetRatio", [](const Property& p) { EXPECT_EQ(p.GetRatio(), Property::Ratio(1)); }},
        {"size", [](const Property& p) { EXPECT_EQ(p.size(), 0u); }},
    };
    const std::vector<Property> values = MakeOneOfEach();
    for (int type = 0; type < static_cast<int>(values.size()); ++type)
    {
        const Property& value = values[type];
        EXPECT_EQ(value.GetType(), type);
        for (int i = 0; i < static_cast<int>(getters.size()); ++i)
            if (i + 1 == type)
                getters[i].second(value);
            else
                ExpectNotApplicable([&] { getters[i].second(value); }, getters[i].first, type);
    }
}

TEST(Property, ValuesAndTypesTellApart)
{
    const std::vector<Property> values = MakeOneOfEach();
    for (size_t i = 1; i < values.size(); ++i)
        for (size_t j = 1; j < values.size(); ++j)
            EXPECT_EQ(values[i] == values[j], i == j) << i << " " << j;
}

TEST(Property, LiteralsDoNotBecomeBool)
{
    const char* pointer = "text";
    char array[] = "text";
    EXPECT_EQ(Property("p", "text").GetString(), "text");
    EXPECT_EQ(Property("p", pointer).GetString(), "text");
    EXPECT_EQ(Property("p", array).GetString(), "text");
    EXPECT_EQ(Property("p", 7).GetInt64(), 7);
    EXPECT_EQ(Property("p", int64_t{7}).GetInt64(), 7);
    EXPECT_EQ(Property("p", 7.0f).GetDouble(), 7.0);

    Property p("p", true);
    p = "text";
    EXPECT_EQ(p.GetString(), "text");
    p = 7;
    EXPECT_EQ(p.GetInt64(), 7);
    p = int64_t{8};
    EXPECT_EQ(p.GetInt64(), 8);
    p = false;
    EXPECT_FALSE(p.GetBool());
    EXPECT_EQ(p.GetName(), "p");

    Property node("node");
    node.SetChild("c", "text");
    EXPECT_EQ(node["c"].GetString(), "text");
}

TEST(Property, ChildOperationsNeedANode)
{
    for (Property& value : MakeOneOfEach())
    {
        if (value.GetType() == Property::TypeNode)
            continue;
        const int type = value.GetType();
        ExpectNotApplicable([&] { value.SetChildT<bool>("c", true); }, "SetChildT", type);
        ExpectNotApplicable([&] { value.CreateChildT<bool>("c", true); }, "CreateChildT", type);
        ExpectNotApplicable([&] { value.SetChild("c", Property("c")); }, "SetChild", type);
        ExpectNotApplicable([&] { value.Add(Property("c")); }, "Add", type);
        ExpectNotApplicable([&] { value["c"]; }, "operator[]", type);
        ExpectNotApplicable([&] { std::as_const(value)["c"]; }, "operator[]", type);
        ExpectNotApplicable([&] { value.FindChild("c"); }, "FindChild", type);
        EXPECT_FALSE(value.ChildExists("c"));
    }
}

TEST(Property, ChildrenKeepTheirOrder)
{
    Property node("node");
    node.CreateChildT<std::string>("b", "1");
    node["a"] = 2;
    node.SetChildT<double>("c", 3.0);
    node.SetChildT<std::string>("b", "4");
    node.SetChild("a", Property("other name", 5));
    std::string text;
    for (const Property& child : node)
        text += child.GetName() + std::to_string(child.GetType());
    EXPECT_EQ(text, "b4a1c2");
    EXPECT_EQ(node["b"].GetString(), "4");
    EXPECT_EQ(node["a"].GetInt64(), 5);

    // a created child stands behind one of the same name, which is still the one to be found
    node.CreateChildT<bool>("b", true);
    EXPECT_EQ(node.size(), 4u);
    EXPECT_EQ(node["b"].GetString(), "4");
    node.RemoveChild("b");
    EXPECT_EQ(node.size(), 2u);

    EXPECT_THROW(std::as_const(node)["missing"], Core::PropertyException);
    EXPECT_EQ(node["missing"].GetType(), Property::TypeNode);
}

TEST(Property, CopiesAreDeep)
{
    Property a("a");
    a["x"]["y"] = 1;
    Property b(a);
    EXPECT_EQ(a, b);
    b["x"]["y"] = 2;
    EXPECT_EQ(a["x"]["y"].GetInt64(), 1);
    EXPECT_FALSE(a == b);
    static_assert(std::is_nothrow_move_constructible_v<Property>);
}

TEST(Property, AssignsAndMergesPartsOfItself)
{
    const auto make = []
    {
        Property root("root");
        root["x"]["y"]["z"] = "a text that is too long for a small string";
        return root;
    };
    const std::string text = make()["x"]["y"]["z"].GetString();

    Property copied = make();
    copied = copied["x"]["y"];
    EXPECT_EQ(copied.GetName(), "y");
    EXPECT_EQ(copied["z"].GetString(), text);

    Property moved = make();
    moved = std::move(moved["x"]["y"]["z"]);
    EXPECT_EQ(moved.GetString(), text);

    Property valued = make();
    valued = valued["x"]["y"]["z"].GetString();
    EXPECT_EQ(valued.GetString(), text);

    Property set = make();
    set.SetChild("new", set["x"]);
    EXPECT_EQ(set["new"],
              [&]
              {
                  Property p = set["x"];
                  p.SetName("new");
                  return p;
              }());

    Property merged = make();
    merged.Merge(merged["x"]);
    EXPECT_EQ(merged["y"]["z"].GetString(), text);
    merged.Merge(merged);
    EXPECT_EQ(merged.size(), 2u);
}

TEST(Property, MergesChildByChild)
{
    Property target("target");
    target["kept"] = 1;
    target["node"]["inner"] = 2;
    target["value"] = 3;
    target["becomes node"] = 4;
    Property other("other");
    other["new"] = "5";
    other["node"]["added"] = 6;
    other["value"] = 7.0;
    other["becomes node"]["child"] = 8;
    target.Merge(other);

    Property expected("target");
    expected["kept"] = 1;
    expected["node"]["inner"] = 2;
    expected["node"]["added"] = 6;
    expected["value"] = 7.0;
    expected["becomes node"]["child"] = 8;
    expected["new"] = "5";
    EXPECT_EQ(target, expected);

    Property empty;
    empty.Merge(other);
    EXPECT_EQ(empty["value"].GetDouble(), 7.0);
}

TEST(Statistics, RecordsStandUnderTheRoot)
{
    Property root = Core::GetRootItem();
    EXPECT_EQ(root.size(), 0u);
    root.Add(Core::MakeStatistics("tag", 12, 3));
    EXPECT_EQ(root["tag"]["time"].GetInt64(), 12);
    EXPECT_EQ(root["tag"]["count"].GetInt64(), 3);
    EXPECT_EQ(Core::StatisticsTag("FilterCache", "StreamType", "Tessor::Proc::IStreamAudio"),
              "virtual Core::Property Tessor::Proc::FilterCache<Tessor::Proc::IStreamAudio>::GetStatistic() const "
              "[StreamType = Tessor::Proc::IStreamAudio]");
}
