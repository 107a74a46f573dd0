#include "QcfLib/Nodes/NodeTexts.h"

#include "QcfLib/QcfEvalCollectionsGenerated.h"
#include "QcfLib/QcfEvalGenerated.h"

#include <sstream>

/// Texts that several classes share, so that each has one form in dumps, traces and logs.
namespace Qcf::Eval {

namespace {

// By the stream's own rules, which are the settled form.
template <typename Value>
String streamed(Value const & value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

template <typename Link>
String joined(Link const * link) {
    String text;
    for (char const * separator = ""; link != nullptr; link = link->next().get()) {
        // A link without an entry is malformed; its dump would hide that.
        QCF_ASSERT_TEXT(link->entry(), "nullptr != entry()");
        text += separator;
        text += link->entry()->toStrep();
        separator = ", ";
    }
    return text;
}

} // namespace

String textOf(U64 value) { return std::to_string(value); }
String textOf(F32 value) { return streamed(value); }
String textOf(TriStateBoolValue value) { return toString(value); }
String textOf(Acl::CommunityValue const & value) { return streamed(value); }
String textOf(std::optional<Evpn::Esid> const & value) { return value ? value->toString() : ""; }

String variableText(String const & name, U8 argVectorIndex) {
    return name + "[index:" + static_cast<char>(argVectorIndex) + "]";
}

// A chain's text is that of its entries, from whatever link on.
String FunctionArgumentList::toStrep() const { return joined(this); }
String IntLinkedList::toStrep() const { return joined(this); }
String CommunityLinkedList::toStrep() const { return joined(this); }

String chainText(char const * open, PtrConst<IntLinkedList> const & head, char const * close) {
    return open + joined(head.get()) + close;
}
String chainText(char const * open, PtrConst<CommunityLinkedList> const & head,
                 char const * close) {
    return open + joined(head.get()) + close;
}

void dumpIndent(PtrConst<DumpContext> const & dumpContext, U32 indent) {
    // A width of 0 would still print the blank.
    if (indent != 0) {
        dumpContext->print("%*c", static_cast<int>(indent), ' ');
    }
}

void dumpOperator(PtrConst<DumpContext> const & dumpContext, U32 indent,
                  PtrConst<StorageType> const & lhs, char const * keyword, String const & rhs) {
    dumpIndent(dumpContext, indent);
    dumpContext->print("%s %s", lhs->toStrep().c_str(), keyword);
    dumpContext->print("%s", rhs.c_str());
}

void dumpOperator(PtrConst<DumpContext> const & dumpContext, U32 indent,
                  PtrConst<StorageType> const & lhs, char const * keyword,
                  PtrConst<StorageType> const & rhs) {
    dumpOperator(dumpContext, indent, lhs, keyword, rhs->toStrep());
}

void dumpImplementation(PtrConst<DumpContext> const & dumpContext, U32 indent,
                        char const * className) {
    dumpIndent(dumpContext, indent);
    dumpContext->print(" %s", className);
}

} // namespace Qcf::Eval
