#include "Text/ListResolver.h"

#include "Platform/Routing/CommunityText.h"
#include "QcfLib/QcfEval.h"
#include "Text/Cursor.h"
#include "Text/DeclaredLists.h"

#include <set>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Lists::ListKind;

/// "tag_set 'TAGS'".
String named(ListDeclaration const & list) {
    return String(kindWord(list.kind())) + " '" + list.name() + "'";
}

class ListResolver {
public:
    ListResolver(Declarations & declarations, Sources const & sources, Messages & messages)
        : declarations_(declarations),
          sources_(sources),
          messages_(messages),
          lists_(declarations.lists, sources, messages) {}

    void run() {
        checkNames();
        for (FunctionDeclaration & function : declarations_.functions) {
            settle(function.uses);
        }
        for (TestDeclaration & test : declarations_.tests) {
            settle(test.uses);
        }
        for (TestDeclaration const & test : declarations_.tests) {
            checkBound(test);
        }
        if (!messages_.hasErrors()) {
            warnUnused();
        }
    }

private:
    void error(Span const & span, char const * code, String text, String suggestion = {},
               String note = {}) {
        messages_.add(
            {span, Severity::error, code, std::move(text), std::move(suggestion), std::move(note)});
    }
    String declaredAt(ListDeclaration const & list) const {
        return "declared at " + sources_.placeText(list.nameSpan);
    }

    // A bare name is one thing.
    void checkNames() {
        for (auto const & [name, span] : declarations_.constants) {
            checkName(name, span, "constants");
        }
        for (FunctionDeclaration const & function : declarations_.functions) {
            for (Parameter const & parameter : function.parameters) {
                checkName(parameter.name, parameter.span, "parameters");
            }
        }
    }
    void checkName(String const & name, Span const & span, char const * whose) {
        if (ListDeclaration const * const list = lists_.findAny(name)) {
            error(span, "name", "'" + name + "' is a list, " + declaredAt(*list), {},
                  String(whose) + " and lists do not share names");
        }
    }

    // What a test binds stands in for a list: for one that is there, and is of the same family.
    void checkBound(TestDeclaration const & test) {
        std::set<std::pair<ListKind, std::string_view>> bound;
        for (ListDeclaration const & list : test.lists) {
            if (!bound.emplace(list.kind(), list.name()).second) {
                error(list.nameSpan, "duplicate-list", "the " + named(list) + " is bound twice");
            }
            ListDeclaration const * const declared = lists_.find(list.kind(), list.name());
            if (declared != nullptr && list.kind() == ListKind::prefixList &&
                declared->isV4() != list.isV4()) {
                error(list.nameSpan, "list-family", named(list) + " is of the other family", {},
                      declaredAt(*declared));
            }
            if (!named_.contains({list.kind(), String(list.name())}) && declared == nullptr) {
                messages_.add({list.nameSpan, Severity::warning, "unused",
                               "nothing asks the " + named(list) + " that is bound"});
            }
        }
    }

    void settle(BodyUses & uses) {
        for (ListUse & use : uses.lists) {
            named_.emplace(declaredKind(use.kind), use.name);
            ListDeclaration const * const declared = use.isOpen ? openFamily(use) : known(use);
            if (declared != nullptr) {
                used_.insert(declared);
            }
        }
    }

    ListDeclaration const * known(ListUse const & use) {
        ListKind const kind = declaredKind(use.kind);
        ListDeclaration const * const declared = lists_.find(kind, use.name);
        if (declared == nullptr) {
            undeclared(use, kind);
        } else if (kind == ListKind::prefixList &&
                   declared->isV4() != (use.kind == SlotKind::v4PrefixList)) {
            char const * const is = declared->isV4() ? "v4" : "v6";
            char const * const wanted = declared->isV4() ? "v6" : "v4";
            error(use.span, "list-family",
                  named(*declared) + " is declared " + is + ", not " + wanted, {},
                  declaredAt(*declared));
        }
        return declared;
    }

    ListDeclaration const * openFamily(ListUse & use) {
        ListDeclaration const * declared = lists_.find(ListKind::prefixList, use.name);
        if (declared == nullptr) {
            declared = lists_.find(ListKind::dynamicPrefixList, use.name);
        }
        if (declared == nullptr) {
            failOpen(use);
            return nullptr;
        }
        Draft & draft = *use.draft;
        draft.isFamilyOpen = false;
        if (declared->kind() == ListKind::dynamicPrefixList) {
            auto const fields = draft.fields;
            draft.nodeClass = &nodeClassOf<DynamicPrefixListImmediate>();
            draft.fields.assign(fields.begin(), fields.begin() + 2);
        } else {
            draft.at(FieldRole::isV4) = declared->isV4();
        }
        return declared;
    }

    void failOpen(ListUse const & use) {
        if (declarations_.faultyLists.contains(use.name) ||
            isOtherKind(use, ListKind::prefixList)) {
            return;
        }
        String const near = lists_.nearestName(ListKind::prefixList, use.name);
        String const suggestion = near.empty() ? suggestName(use.name) : near;
        String const elsewhere = "; a prefix list that is declared elsewhere is 'v4 " + use.name +
                                 "' or 'v6 " + use.name + "'";
        error(use.span, "unknown-name",
              "unknown name '" + use.name + "'" + (suggestion.empty() ? elsewhere : ""),
              suggestion);
    }

    void undeclared(ListUse const & use, ListKind kind) {
        if (declarations_.faultyLists.contains(use.name) || isOtherKind(use, kind)) {
            return;
        }
        String suggestion = lists_.nearestName(kind, use.name);
        if (suggestion.empty() && kind == ListKind::communityList) {
            String const community = nearest(use.name, wellKnownCommunityNames());
            suggestion = community.empty() ? "" : "{ " + community + " }";
        }
        if (!suggestion.empty()) {
            messages_.add({use.span, Severity::warning, "undeclared-list",
                           "no " + String(kindWord(kind)) + " '" + use.name +
                               "' is declared; it is taken from outside",
                           suggestion});
        }
    }

    // Tells of a list of that name that is of another kind.
    bool isOtherKind(ListUse const & use, ListKind kind) {
        ListDeclaration const * const other = lists_.findAny(use.name);
        if (other != nullptr) {
            error(use.span, "list-kind",
                  "wants " + String(kindWord(kind)) + ", found " + named(*other), {},
                  declaredAt(*other));
        }
        return other != nullptr;
    }

    // Imported lists may be there for others, and so may those of a text without functions.
    void warnUnused() {
        auto const isInMain = [&](Span const & span) {
            return span.file == declarations_.mainFile;
        };
        bool const hasFunctions = std::ranges::any_of(
            declarations_.functions, [&](auto const & each) { return isInMain(each.span); });
        for (ListDeclaration const & list : declarations_.lists) {
            bool const isOwn = isInMain(list.span) &&
                               sources_.textOf(list.span).starts_with(kindWord(list.kind()));
            if (hasFunctions && isOwn && !used_.contains(&list)) {
                messages_.add({list.nameSpan, Severity::warning, "unused",
                               "the " + named(list) + " is not used"});
            }
        }
    }

    Declarations & declarations_;
    Sources const & sources_;
    Messages & messages_;
    DeclaredLists lists_;
    std::set<ListDeclaration const *> used_;
    /// What functions and tests name.
    std::set<std::pair<ListKind, String>> named_;
};

} // namespace

void resolveLists(Declarations & declarations, Sources const & sources, Messages & messages) {
    ListResolver(declarations, sources, messages).run();
}

} // namespace Qcf::Text
