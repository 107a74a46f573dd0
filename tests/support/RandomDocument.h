#pragma once

#include "QcfLib/AetNode.h"

#include <array>
#include <random>
#include <string_view>
#include <vector>

namespace Qcf::test {

/// Makes evaluation-tree documents of random, well-formed content from the registry of node
/// classes. The same seed gives the same documents.
///
/// Every function can be evaluated: operands do not return, variables have arguments, bounds of
/// ranges match, calls pass what their callees read. Names of lists, attributes and constants come
/// from small sets, so that what one node writes another one reads.
class RandomDocument {
public:
    struct Options {
        bool references = false; ///< shares expressions by `ref`: the log drops some then
        bool calls = true;
        U32 depth = 5; ///< of expressions
    };

    explicit RandomDocument(U32 seed) : RandomDocument(seed, Options()) {}
    RandomDocument(U32 seed, Options options);

    /// Functions that call earlier ones, and at the end one named "main", which takes no arguments.
    String functions(U32 count);

    /// A document whose `nodes` hold at least one node of every class. Functions in it are not
    /// meant to be evaluated.
    String everyClass();

private:
    using NodeClass = Eval::NodeClass;
    using FieldInfo = Eval::FieldInfo;

    /// What may stand at a place.
    struct Scope {
        std::array<U8, 4> arguments{}; ///< of the function: integers, bandwidths, tri-states, lists
        bool variables = true;         ///< whether values may depend on them
        bool returns = true;           ///< whether expressions may return
        U32 depth = 0;                 ///< levels left
    };
    struct Callee {
        String name;
        std::array<U8, 4> arguments{};
        char const * builtIn = nullptr; ///< what its body is, if it is a built-in function
    };

    U32 below(U32 bound) { return static_cast<U32>(random_() % bound); }
    bool oneIn(U32 chances) { return below(chances) == 0; }
    template <typename Choices>
    auto const & oneOf(Choices const & choices) {
        return choices[below(static_cast<U32>(std::size(choices)))];
    }

    String function(Callee const & callee);
    /// `last` is one more statement; "" for none.
    String block(Scope const & scope, U32 statements, String const & last);
    String lastStatement(Scope const & scope);

    /// Something that the field accepts, in whichever form.
    String child(FieldInfo const & field, Scope scope);
    String literal(std::string_view wants);
    String setLiteral(bool communities);
    String object(NodeClass const & nodeClass, Scope const & scope);
    String entries(NodeClass const & linkClass, Scope const & scope, U32 count);
    String logicalChain(Scope const & scope);
    struct TestFamily;
    String testChain(Scope const & scope);
    /// An operator on an attribute and a constant.
    String onAttribute(char const * className, NodeClass const & attribute);
    String chainCondition(TestFamily const & family, NodeClass const & attribute, bool plain,
                          Scope const & scope);
    NodeClass const & testedAttribute(TestFamily const & family, bool anyOne);
    String ranges(Scope const & scope);
    String call(Scope const & scope);
    String arguments(Callee const & callee, Scope const & scope);
    String scalar(NodeClass const & owner, FieldInfo const & field, Scope const & scope);

    bool fits(NodeClass const & nodeClass, Scope const & scope) const;
    /// One attribute in four is used all over the document, the others now and then.
    bool isFamiliar(NodeClass const & attribute);
    NodeClass const & pick(FieldInfo const & field, Scope const & scope);
    /// What the field accepts, frequent classes more than once.
    static std::vector<NodeClass const *> const & accepted(FieldInfo const & field);

    Options options_;
    std::mt19937 random_;
    std::vector<Callee> callees_;
    U32 familiar_;               ///< chooses the familiar attributes
    std::vector<U64> shareable_; ///< keys of the function's expressions that may stand anywhere
    U64 nextKey_ = 1'000'000;
};

} // namespace Qcf::test
