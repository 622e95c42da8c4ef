#pragma once

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "io/10/NodeWriter10.h"

/// What a record should be, written down field by field, with strings numbered in the order of their first use.
class Expected
{
public:
    Expected& u8(unsigned value) { return put(value, 1); }
    Expected& u32(std::uint64_t value) { return put(value, 4); }
    Expected& f32(float value) { return put(std::bit_cast<std::uint32_t>(value), 4); }
    Expected& f64(double value) { return put(std::bit_cast<std::uint64_t>(value), 8); }
    Expected& f32s(std::initializer_list<float> values)
    {
        for (const float value : values)
            f32(value);
        return *this;
    }
    Expected& f64s(std::initializer_list<double> values)
    {
        for (const double value : values)
            f64(value);
        return *this;
    }
    Expected& u8s(std::initializer_list<unsigned> values)
    {
        for (const unsigned value : values)
            u8(value);
        return *this;
    }
    Expected& u32s(std::initializer_list<std::uint64_t> values)
    {
        for (const std::uint64_t value : values)
            u32(value);
        return *this;
    }
    Expected& str(const std::string& text)
    {
        const auto found = std::find(strings.begin(), strings.end(), text);
        const auto index = static_cast<std::uint64_t>(found - strings.begin());
        if (found == strings.end()) strings.push_back(text);
        return u32(index);
    }
    Expected& rawname(const std::string& text)
    {
        u32(text.size());
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    /// Type name, name, reserved word; the property list follows.
    Expected& head(const std::string& type, const std::string& name) { return str(type).rawname(name).u32(0); }
    Expected& noProperties() { return u32(0); }
    Expected& onlyVersion(unsigned version)
    {
        return u32(1).str("model::Property<unsigned int>").str("__VERSION__").u32(version);
    }
    Expected& identityd() { return f64s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); }
    Expected& identityf() { return f32s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); }

    std::vector<unsigned char> bytes;
    std::vector<std::string> strings;

private:
    Expected& put(std::uint64_t value, int numBytes)
    {
        for (int i = 0; i < numBytes; ++i)
            bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
        return *this;
    }
};

/// Writes single records as they would stand in the file of `root`.
class Records
{
public:
    Records() : root(new model::RootNode()) {}

    /// Gives the node the next number.
    void addTreeNode(const model::ObjectPtr<model::Node>& node)
    {
        indices.emplace(node.get(), static_cast<std::uint32_t>(indices.size()));
    }
    /// Puts the node into the root's list, so that its material has a number.
    void addRenderNode(const model::ObjectPtr<model::BaseNode>& node)
    {
        root->addRenderNode(node);
        root->collectMaterials();
    }
    /// The bytes of one record and the strings that it uses.
    Expected write(const model::INode& node)
    {
        model::MemBinaryFileW file;
        model::NodeWriter10 writer(file, indices, root.get());
        node.accept(writer);

        Expected result;
        const model::ByteBuffer& bytes = file.getBytes();
        result.bytes.assign(bytes.data(), bytes.data() + bytes.size());
        const auto table = file.getStrings().serialize();
        for (const unsigned char* at = table.data(); at != table.data() + table.size();)
        {
            result.strings.emplace_back(reinterpret_cast<const char*>(at));
            at += result.strings.back().size() + 1;
        }
        return result;
    }

    model::ObjectPtr<model::RootNode> root;

private:
    model::NodeIndexMap indices;
};
