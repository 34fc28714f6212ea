#include "Fnd/Property/Property.h"
#include "Fnd/Statistics.h"
#include "tests/Fnd/FailingMemory.h"

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

/// "name(child=1 other=text)" of integers, strings and nodes.
std::string ToText(const Property& p)
{
    if (p.GetType() != Property::TypeNode)
        return p.GetName() + "=" + (p.GetType() == Property::TypeString ? p.GetString() : std::to_string(p.GetInt64()));
    std::string children;
    for (const Property& child : p)
        children += (children.empty() ? "" : " ") + ToText(child);
    return p.GetName() + "(" + children + ")";
}

void ExpectNotApplicable(const std::function<void()>& call, const char* method, int type)
{
    try
    {
        call();
        FAIL() << method << " passed on type " << type;
    }
    catch (const Core::MethodIsNotApplicable& e)
    {
        EXPECT_EQ(*boost::get_error_info<Core::TagMethodName>(e), method);
        EXPECT_EQ(*boost::get_error_info<Core::TagPropertyType>(e), type);
        EXPECT_TRUE(boost::get_error_info<Core::TagPropertyName>(e) && boost::get_error_info<TagCallStack>(e));
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
    Property p("p", true);
    p = "text";
    Property node("node");
    node.SetChild("c", "text");
    for (const Property& text : {Property("p", "text"), p, node["c"]})
        EXPECT_EQ(text.GetString(), "text");
}

TEST(Property, ChildrenKeepTheirOrder)
{
    Property node("node");
    node.CreateChildT<std::string>("b", "1");
    node["a"] = 2;
    node.SetChildT<int64_t>("c", 3);
    node.SetChildT<std::string>("b", "4");
    node.SetChild("a", Property("other name", 5));
    EXPECT_EQ(ToText(node), "node(b=4 a=5 c=3)");
    // a created child stands after one of the same name, which is still the one to be found
    node.CreateChildT<int64_t>("b", 6);
    EXPECT_EQ(ToText(node), "node(b=4 a=5 c=3 b=6)");
    EXPECT_EQ(node["b"].GetString(), "4");
    node.RemoveChild("b");
    EXPECT_EQ(ToText(node), "node(a=5 c=3)");
    EXPECT_THROW(std::as_const(node)["missing"], Core::PropertyException);
    EXPECT_EQ(node["missing"].GetType(), Property::TypeNode);
}

TEST(Property, AssignsAndMergesPartsOfItself)
{
    const auto after = [](void (*change)(Property&))
    {
        Property root("root");
        root["x"]["y"]["z"] = "a text that is too long for a small string";
        change(root);
        return ToText(root);
    };
    const std::string z = "z=a text that is too long for a small string", x = "x(y(" + z + "))";
    EXPECT_EQ(after([](Property& p) { p = std::move(p["x"]["y"]["z"]); }), "root" + z.substr(1));
    EXPECT_EQ(after([](Property& p) { p = p["x"]; }), "root(y(" + z + "))") << "the value alone";
    EXPECT_EQ(after([](Property& p) { p["x"] = Property("other", 5); }), "root(x=5)");
    EXPECT_EQ(after([](Property& p) { p = p["x"]["y"]["z"].GetString(); }), "root" + z.substr(1));
    EXPECT_EQ(after([](Property& p) { p.SetChild("new", p["x"]); }), "root(" + x + " new(y(" + z + ")))");
    EXPECT_EQ(after([](Property& p) { p.Merge(p["x"]); }), "root(" + x + " y(" + z + "))");
}

TEST(Property, MergesChildByChildAndCopiesDeeply)
{
    Property target("target");
    target["kept"] = 1;
    target["node"]["inner"] = 2;
    target["value"] = 3;
    target["becomes node"] = 4;
    const Property before = target;
    Property other("other");
    other["new"] = "5";
    other["node"]["added"] = 6;
    other["value"] = "7";
    other["becomes node"]["child"] = 8;
    target.Merge(other);
    EXPECT_EQ(ToText(before), "target(kept=1 node(inner=2) value=3 becomes node=4)");
    EXPECT_EQ(ToText(target), "target(kept=1 node(inner=2 added=6) value=7 becomes node(child=8) new=5)");
}

TEST(Property, CopyThatRunsOutOfMemoryLeavesNothing)
{
    const std::string longText(40, 'x');
    Property tree(longText);
    tree["text"] = longText;
    tree["node"]["inner"][longText] = longText;
    tree["last"] = longText;
    int failed = 0;
    for (bool copied = false; !copied; ++failed)
    {
        Tessor::Test::allocationsLeft = failed;
        try
        {
            const Property copy(tree);
            Tessor::Test::allocationsLeft = -1;
            EXPECT_EQ(copy, tree);
            copied = true;
        }
        catch (const std::bad_alloc&)
        {
        }
    }
    EXPECT_GT(failed, 8);
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
