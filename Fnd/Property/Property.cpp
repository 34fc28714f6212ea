#include "Fnd/Property/Property.h"

#include <algorithm>

namespace Tessor::Core
{

Property::Property(const std::string& name) : name(name), value(Children()) {}
Property::Property(const std::string& name, long long value) : name(name), value(value) {}
Property::Property(const std::string& name, long value) : name(name), value(static_cast<long long>(value)) {}
Property::Property(const std::string& name, int value) : name(name), value(static_cast<long long>(value)) {}
Property::Property(const std::string& name, double value) : name(name), value(value) {}
Property::Property(const std::string& name, bool value) : name(name), value(value) {}
Property::Property(const std::string& name, const std::string& value) : name(name), value(value) {}
Property::Property(const std::string& name, const char* value) : name(name), value(std::string(value)) {}
Property::Property(const std::string& name, const Ratio& value) : name(name), value(value) {}

Property& Property::operator=(Property&& other) noexcept
{
    // moved out first: assigning over the tree would destroy a part of it before it is read
    auto moved = std::move(other.value);
    value.swap(moved);
    return *this;
}

Property& Property::operator=(long long newValue)
{
    value = newValue;
    return *this;
}

Property& Property::operator=(long newValue)
{
    return *this = static_cast<long long>(newValue);
}

Property& Property::operator=(int newValue)
{
    return *this = static_cast<long long>(newValue);
}

Property& Property::operator=(double newValue)
{
    value = newValue;
    return *this;
}

Property& Property::operator=(bool newValue)
{
    value = newValue;
    return *this;
}

Property& Property::operator=(const std::string& newValue)
{
    value = newValue;
    return *this;
}

Property& Property::operator=(const char* newValue)
{
    value = std::string(newValue);
    return *this;
}

Property& Property::operator=(const Ratio& newValue)
{
    value = newValue;
    return *this;
}

template <class T>
const T& Property::Get(const char* method) const
{
    const T* held = std::get_if<T>(&value);
    if (!held)
        ThrowNotApplicable(method);
    return *held;
}

bool Property::GetBool() const
{
    return Get<bool>("GetBool");
}

long long Property::GetInt64() const
{
    return Get<long long>("GetInt64");
}

double Property::GetDouble() const
{
    return Get<double>("GetDouble");
}

const std::string& Property::GetString() const
{
    return Get<std::string>("GetString");
}

Property::Ratio Property::GetRatio() const
{
    return Get<Ratio>("GetRatio");
}

Property& Property::operator[](const std::string& key)
{
    RequireNode("operator[]");
    const auto found = FindChild(key);
    if (found != end())
        return *found;
    Add(Property(key));
    return std::get<Children>(value).back();
}

const Property& Property::operator[](const std::string& key) const
{
    RequireNode("operator[]");
    const auto found = FindChild(key);
    if (found == end())
        Throw<PropertyException>(TESSOR_HERE, "Property \"" + name + "\" has no child \"" + key + "\"");
    return *found;
}

bool Property::ChildExists(const std::string& key) const
{
    return GetType() == TypeNode && FindChild(key) != end();
}

Property::Children::iterator Property::FindChild(const std::string& key)
{
    RequireNode("FindChild");
    return std::find_if(begin(), end(), [&](const Property& child) { return child.name == key; });
}

Property::Children::const_iterator Property::FindChild(const std::string& key) const
{
    RequireNode("FindChild");
    return std::find_if(begin(), end(), [&](const Property& child) { return child.name == key; });
}

Property::Children::iterator Property::begin()
{
    RequireNode("begin");
    return std::get<Children>(value).begin();
}

Property::Children::iterator Property::end()
{
    RequireNode("end");
    return std::get<Children>(value).end();
}

Property::Children::const_iterator Property::begin() const
{
    return Get<Children>("begin").begin();
}

Property::Children::const_iterator Property::end() const
{
    return Get<Children>("end").end();
}

size_t Property::size() const
{
    return Get<Children>("size").size();
}

void Property::SetChild(const std::string& key, const Property& child)
{
    RequireNode("SetChild");
    // copied first: a new child may move the others in memory, and `child` may be one of them
    Property copy(child);
    (*this)[key] = std::move(copy);
}

void Property::Add(const Property& child)
{
    Add(Property(child));
}

void Property::Add(Property&& child)
{
    RequireNode("Add");
    std::get<Children>(value).push_back(std::move(child));
}

void Property::RemoveChild(const std::string& key)
{
    RequireNode("RemoveChild");
    // not by erase, which assigns elements to each other: that would leave the names where they were
    Children kept;
    for (Property& child : std::get<Children>(value))
        if (child.name != key)
            kept.push_back(std::move(child));
    value = std::move(kept);
}

// What is held is copied before there is a variant. The variant's own copy, as g++ 12 has it, destroys what it has not
// yet made when memory ends in the middle of a tree.
Property::Value Property::Copy(const Value& other)
{
    return std::visit(
        [](const auto& held)
        {
            auto copy = held;
            return Value(std::move(copy));
        },
        other);
}

void Property::MergeFrom(Property&& other)
{
    if (GetType() != TypeNode || other.GetType() != TypeNode)
    {
        *this = std::move(other);
        return;
    }
    // a missing child is made as an empty node first, which takes a node and a value alike
    for (Property& child : other)
        (*this)[child.name].MergeFrom(std::move(child));
}

void Property::RequireNode(const char* method) const
{
    if (GetType() != TypeNode)
        ThrowNotApplicable(method);
}

void Property::ThrowNotApplicable(const char* method) const
{
    MethodIsNotApplicable e;
    e << TagDescription("Property \"" + name + "\" of type " + std::to_string(GetType()) + " does not allow " + method);
    e << TagPropertyName(name) << TagPropertyType(GetType()) << TagMethodName(method);
    boost::throw_exception(AddStack(std::move(e)), TESSOR_HERE);
}

} // namespace Tessor::Core
