#pragma once

#include "Command/PreparedPolicy.h"
#include "Questions/ReportInput.h"

/// A policy whose every node has a line: the text that it was, the texts that a source map leads
/// to, or else the document printed as text, which is the same program and evaluates alike.
///
///     ReadablePolicy const readable(prepared);
///     if (readable.isPrinted()) { ... the lines are those of no file ... }
class ReadablePolicy {
public:
    /// Throws DocumentError for a document whose text would not be read: its trees are too deep.
    explicit ReadablePolicy(PreparedPolicy const & prepared);

    /// The function to evaluate; of a printed document that of its text.
    PtrConst<Qcf::Eval::Function> const & function() const { return function_; }
    Qcf::Watch::NodePlaces const & places() const { return *places_; }
    std::vector<Qcf::Questions::ReportText> const & texts() const { return texts_; }
    bool isPrinted() const { return text_ != nullptr; }

private:
    /// Texts of the files in which the nodes have their places; false where one is missing,
    /// or is not what was compiled.
    bool hasMappedTexts(PreparedPolicy const & prepared);
    void print(PreparedPolicy const & prepared);

    PtrConst<Qcf::Eval::Function> function_;
    std::unique_ptr<Qcf::Watch::NodePlaces> places_;
    std::vector<Qcf::Questions::ReportText> texts_;
    // Of a printed document; places refer to both, wherever this object is moved.
    std::unique_ptr<Qcf::Text::Sources> sources_;
    std::unique_ptr<Qcf::Text::Policy> text_;
};
