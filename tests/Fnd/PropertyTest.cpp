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

TEST(Property, OperationsServeTheirOwnTypeOnly)
{
    const struct
    {
        const char* name;
        int type;
        std::function<void(Property&)> call;
    } operations[] = {
        {"GetInt64", Property::TypeInt64, [](Property& p) { EXPECT_EQ(p.GetInt64(), 1); }},
        {"GetDouble", Property::TypeDouble, [](Property& p) { EXPECT_EQ(p.GetDouble(), 1.0); }},
        {"GetBool", Property::TypeBool, [](Property& p) { EXPECT_TRUE(p.GetBool()); }},
        {"GetString", Property::TypeString, [](Property& p) { EXPECT_EQ(p.GetString(), "1"); }},
        {"GetRatio", Property::TypeRatio, [](Property& p) { EXPECT_EQ(p.GetRatio(), Property::Ratio(1)); }},
        {"size", Property::TypeNode, [](Property& p) { EXPECT_EQ(p.size(), 0u); }},
        {"SetChildT", Property::TypeNode, [](Property& p) { p.SetChildT<bool>("c", true); }},
        {"CreateChildT", Property::TypeNode, [](Property& p) { p.CreateChildT<bool>("c", true); }},
        {"SetChild", Property::TypeNode, [](Property& p) { p.SetChild("c", Property("c")); }},
        {"Add", Property::TypeNode, [](Property& p) { p.Add(Property("c")); }},
        {"operator[]", Property::TypeNode, [](Property& p) { p["c"]; }},
        {"operator[]", Property::TypeNode, [](Property& p) { std::as_const(p)["c"]; }},
        {"FindChild", Property::TypeNode, [](Property& p) { p.FindChild("c"); }},
    };
    std::vector<Property> values = MakeOneOfEach();
    for (int type = 0; type < static_cast<int>(values.size()); ++type)
    {
        EXPECT_EQ(values[type].GetType(), type);
        EXPECT_EQ(std::count(values.begin(), values.end(), values[type]), 1);
        EXPECT_FALSE(values[type].ChildExists("c"));
        for (const auto& operation : operations)
            if (operation.type == type)
                operation.call(values[type]);
            else
                ExpectNotApplicable([&] { operation.call(values[type]); }, operation.name, type);
    }
}

TEST(Property, LiteralsDoNotBecomeBool)
{
    const char* pointer = "text";
    char array[] = "text";
    Property p("p", true);
    p = "text";
    Property node("node");
    node.SetChild("c", "text");
    for (const Property& text : {Property("p", "text"), Property("p", pointer), Property("p", array), p, node["c"]})
        EXPECT_EQ(text.GetString(), "text");
    p = int64_t{8};
    EXPECT_EQ(p.GetInt64(), 8);
    p = false;
    EXPECT_FALSE(p.GetBool());
    EXPECT_EQ(p.GetName(), "p");
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

TEST(Property, AssignsAndMergesPartsOfItself)
{
    const std::string text = "a text that is too long for a small string";
    const auto after = [&](void (*change)(Property&))
    {
        Property root("root");
        root["x"]["y"]["z"] = text;
        change(root);
        return root;
    };
    EXPECT_EQ(after([](Property& p) { p = p["x"]["y"]; })["z"].GetString(), text);
    EXPECT_EQ(after([](Property& p) { p = std::move(p["x"]["y"]["z"]); }).GetString(), text);
    EXPECT_EQ(after([](Property& p) { p = p["x"]["y"]["z"].GetString(); }).GetString(), text);
    EXPECT_EQ(after([](Property& p) { p.SetChild("new", p["x"]); })["new"]["y"]["z"].GetString(), text);
    EXPECT_EQ(after([](Property& p) { p.Merge(p["x"]); })["y"]["z"].GetString(), text);
    EXPECT_EQ(after([](Property& p) { p.Merge(p); }).size(), 1u);
}

TEST(Property, MergesChildByChildAndCopiesDeeply)
{
    Property target("target");
    target["kept"] = 1;
    target["node"]["inner"] = 2;
    target["value"] = 3;
    target["becomes node"] = 4;
    Property expected = target;
    Property other("other");
    other["new"] = "5";
    other["node"]["added"] = 6;
    other["value"] = 7.0;
    other["becomes node"]["child"] = 8;
    target.Merge(other);
    EXPECT_EQ(expected["node"].size(), 1u);
    expected["node"]["added"] = 6;
    expected["value"] = 7.0;
    expected["becomes node"] = Property("becomes node");
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
