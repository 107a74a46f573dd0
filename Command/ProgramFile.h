#pragma once

#include "Documents/Program.h"

/// The function of that name. Throws DocumentError, which lists the functions of the document, when
/// there is none.
PtrConst<Qcf::Eval::Function> findFunction(Qcf::Documents::Program const & program,
                                           String const & document, String const & name);

/// Throws DocumentError: what is called `subject` has no function of that name. Tells which it has.
[[noreturn]] void failFunction(String const & subject, String const & name,
                               std::vector<String> const & known);

/// The function and whatever it refers to, functions that it calls included, as a program of its
/// own.
Qcf::Documents::Program reachedFrom(PtrConst<Qcf::Eval::Function> const & function,
                                    Qcf::Documents::Program const & program);
