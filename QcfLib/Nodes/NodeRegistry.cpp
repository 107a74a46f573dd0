#include "QcfLib/NodeClass.h"

#include <unordered_map>

/// Looking up classes by name, for whoever has names from outside. The rows are generated.
namespace Qcf::Eval {

namespace {

using Names = std::unordered_map<std::string_view, NodeClass const *>;

// Keys are views of literals, which live as long as the tables.
Names classNames() {
    Names names;
    for (NodeClass const & nodeClass : nodeClasses()) {
        // A value base and an attribute may share a name ("IpPrefix"); only the latter has a row.
        names.emplace(nodeClass.name, &nodeClass);
    }
    return names;
}

Names languageNames() {
    Names names;
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.attribute != nullptr) {
            names.emplace(nodeClass.attribute->languageName, &nodeClass);
        }
    }
    return names;
}

NodeClass const * lookUp(Names const & names, std::string_view name) {
    auto const found = names.find(name);
    return found == names.end() ? nullptr : found->second;
}

} // namespace

std::size_t NodeClass::number() const {
    // Records stand in one array: the address is the number.
    return static_cast<std::size_t>(this - nodeClasses().data());
}

FieldInfo const * NodeClass::fieldOf(FieldRole role) const {
    // A handful at most: no table is worth it.
    for (FieldInfo const & field : fields) {
        if (plays(field, role)) {
            return &field;
        }
    }
    return nullptr;
}

NodeClass const * findNodeClass(std::string_view name) {
    // Made by the first who asks; later calls only read.
    static Names const names = classNames();
    return lookUp(names, name);
}

NodeClass const * findAttribute(std::string_view languageName) {
    static Names const names = languageNames();
    return lookUp(names, languageName);
}

} // namespace Qcf::Eval
