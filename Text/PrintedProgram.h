#pragma once

#include "Documents/Program.h"
#include "Text/PrintedLists.h"

#include <unordered_map>

namespace Qcf::Text {

/// The parameters that a function is printed with.
class Signature {
public:
    /// `(...)`: arguments without names.
    bool isOpen() const { return isOpen_; }
    std::vector<PrintedVariable> const & parameters() const { return parameters_; }

    /// Those of a body that is not there: each variable is as it calls itself.
    static Signature of(std::vector<PrintedVariable> variables);

    /// The name under which a parameter is what the variable says; null where none is.
    String const * find(PrintedVariable const & variable) const;
    /// Whether the call passes just what the parameters want.
    bool takes(Eval::FunctionCallExpression const & call) const;

private:
    friend class SignatureMaker;
    bool isOpen_ = false;
    std::vector<PrintedVariable> parameters_;
};

/// What is settled over a whole program before a line of its text is written: which functions the
/// text has, with which parameters, and which slots of lists it gives.
///
///     PrintedProgram const printed(program);
///     for (FunctionContent const & content : printed.contents()) ...
///
/// The program's functions must outlive it.
class PrintedProgram {
public:
    explicit PrintedProgram(Documents::Program const & program);

    /// Those of the program in its order. Before one that calls a function which is none of them
    /// stands that function, too.
    std::vector<FunctionContent> const & contents() const { return contents_; }
    PrintedLists const & lists() const { return lists_; }
    Signature const & signatureOf(Eval::Function const & function) const {
        return signatures_.at(&function);
    }

private:
    std::vector<FunctionContent> contents_;
    PrintedLists lists_;
    std::unordered_map<Eval::Function const *, Signature> signatures_;
};

} // namespace Qcf::Text
