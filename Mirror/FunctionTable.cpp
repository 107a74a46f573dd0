#include "Mirror/FunctionTable.h"

namespace Qcf::Mirror {

namespace {

/// A text that says where it ends, so that none can run into what follows.
void addText(String & to, std::string_view text) {
    to += std::to_string(text.size()) + ';';
    to += text;
}

void addBytes(String & to, Digest const & digest) {
    for (U8 const byte : digest.bytes) {
        to += static_cast<char>(byte);
    }
}

} // namespace

void TreeDigest::addFunction(String & text, U8 place, String const & name,
                             NamedFunction const & function) {
    text += std::to_string(place) + "function";
    addText(text, name);
    addBytes(text, function.digest);
}

void TreeDigest::addNode(String & text, U8 place, TreeDigest const & node) {
    text += std::to_string(place) + "node";
    addBytes(text, node.digest_);
}

void TreeDigest::digestIsOver(String const & text) {
    Digester digester;
    digester.add(text);
    digest_ = digester.finish();
}

Digest flatDigest(FunctionTable const & functions) {
    Digester digester;
    String text;
    for (auto const * const entry : functions.inOrder()) {
        text.clear();
        addText(text, entry->name);
        text += entry->value.digest.toString();
        digester.add(text);
    }
    return digester.finish();
}

} // namespace Qcf::Mirror
