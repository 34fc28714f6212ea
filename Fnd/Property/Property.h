#pragma once

#include "Fnd/Exception.h"
#include "Fnd/Export.h"

#include <boost/rational.hpp>
#include <string>
#include <variant>
#include <vector>

namespace Tessor::Core
{

/// Records of a MethodIsNotApplicable.
using TagPropertyName = boost::error_info<struct TagPropertyNameRecord, std::string>;
using TagPropertyType = boost::error_info<struct TagPropertyTypeRecord, int>;
using TagMethodName = boost::error_info<struct TagMethodNameRecord, std::string>;

/// A named node of a tree of values. Copies are deep; children keep their order; equality compares the whole tree in
/// order, with names and types. A wrong type throws MethodIsNotApplicable, a missing child PropertyException.
class TESSOR_API Property
{
public:
    using Ratio = boost::rational<long long>;
    using Children = std::vector<Property>;

    enum Type
    {
        TypeEmpty = 0,
        TypeInt64 = 1,
        TypeDouble = 2,
        TypeBool = 3,
        TypeString = 4,
        TypeRatio = 5,
        TypeNode = 6,
    };

    /// No value and no children.
    Property() = default;
    /// An empty node.
    explicit Property(const std::string& name);
    Property(const std::string& name, long long value);
    Property(const std::string& name, long value);
    Property(const std::string& name, int value);
    Property(const std::string& name, double value);
    Property(const std::string& name, bool value);
    Property(const std::string& name, const std::string& value);
    Property(const std::string& name, const char* value);
    Property(const std::string& name, const Ratio& value);
    Property(const Property& other) : name(other.name), value(Copy(other.value)) {}
    Property(Property&& other) = default;
    ~Property() = default;

    /// All of these replace value, type and children and keep the name; only construction takes that too. What moves
    /// elements by assignment, such as a sort, would leave the names of Children where they were. The other may be a
    /// part of this tree.
    Property& operator=(const Property& other) { return *this = Property(other); }
    Property& operator=(Property&& other) noexcept;
    Property& operator=(long long value);
    Property& operator=(long value);
    Property& operator=(int value);
    Property& operator=(double value);
    Property& operator=(bool value);
    Property& operator=(const std::string& value);
    Property& operator=(const char* value);
    Property& operator=(const Ratio& value);

    const std::string& GetName() const { return name; }
    void SetName(const std::string& newName) { name = newName; }
    Type GetType() const { return static_cast<Type>(value.index()); }

    /// The value; there is no conversion between types.
    bool GetBool() const;
    long long GetInt64() const;
    double GetDouble() const;
    const std::string& GetString() const;
    Ratio GetRatio() const;

    /// The child of that name; the non-const form appends an empty node when there is none.
    Property& operator[](const std::string& key);
    const Property& operator[](const std::string& key) const;
    bool ChildExists(const std::string& key) const;
    /// end() when missing.
    Children::iterator FindChild(const std::string& key);
    Children::const_iterator FindChild(const std::string& key) const;
    Children::iterator begin();
    Children::iterator end();
    Children::const_iterator begin() const;
    Children::const_iterator end() const;
    size_t size() const;

    /// Sets or appends a child of that name with the other's value. The other may be a part of this tree.
    void SetChild(const std::string& key, const Property& child);
    void SetChild(const std::string& key, const char* text) { SetChildT<std::string>(key, text); }
    void Add(const Property& child);
    void Add(Property&& child);
    void RemoveChild(const std::string& key);

    template <class T>
    Property& SetChildT(const std::string& key, const T& newValue)
    {
        RequireNode("SetChildT");
        const auto found = FindChild(key);
        if (found == end())
            return CreateChildT<T>(key, newValue);
        *found = newValue;
        return *found;
    }

    template <class T>
    Property& CreateChildT(const std::string& key, const T& newValue)
    {
        RequireNode("CreateChildT");
        Add(Property(key, newValue));
        return std::get<Children>(value).back();
    }

    /// Child by child: recursive where both sides are nodes, otherwise the other's value replaces this one's. The name
    /// stays.
    void Merge(const Property& other) { MergeFrom(Property(other)); }

    /// Throws MethodIsNotApplicable, in the name of that method, for anything but a node.
    void RequireNode(const char* method) const;

    bool operator==(const Property& other) const { return name == other.name && value == other.value; }

private:
    // in the order of the type codes
    using Value = std::variant<std::monostate, long long, double, bool, std::string, Ratio, Children>;

    static Value Copy(const Value& other);

    void MergeFrom(Property&& other);
    [[noreturn]] void ThrowNotApplicable(const char* method) const;
    template <class T>
    const T& Get(const char* method) const;

    std::string name;
    Value value;
};

} // namespace Tessor::Core
