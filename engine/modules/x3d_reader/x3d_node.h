// The nodes of a VRML or X3D file, whichever way they are written.
#pragma once

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace morvex {

// Nodes that are used again are shared; none is below itself.
struct X3dNode {
    struct Child {
        std::string_view field;  // empty where the file does not name it
        std::shared_ptr<const X3dNode> node;
    };
    std::string type, name;                               // the name may be empty
    std::map<std::string_view, std::string_view> values;  // of fields that hold no nodes, as written
    std::vector<Child> children;

    bool Is(std::initializer_list<std::string_view> types) const;
    // The first node below of one of the types; null when there is none.
    const X3dNode* Find(std::initializer_list<std::string_view> types) const;

    // Those of a missing field are `missing`. Throws ReadError where one is no number, where they are no
    // groups of so many, and where there are none though some may be missing.
    std::vector<double> Numbers(std::string_view field, std::size_t group = 1,
                                std::initializer_list<double> missing = {}) const;
    double Number(std::string_view field, double missing) const;
    bool Flag(std::string_view field, bool missing) const;
};

using X3dNodePointer = std::shared_ptr<const X3dNode>;

constexpr std::size_t kDeepestNode = 400, kMostNodes = 2'000'000;

struct X3dFile {
    std::vector<X3dNodePointer> nodes;  // at the top
    double metres = 1;                  // its unit of length
};

// The text must outlive the nodes. Throws ReadError where it makes no sense.
X3dFile ParseVrml(std::string_view text);
X3dFile ParseX3dXml(std::string_view text);

}  // namespace morvex
