#pragma once

#include "Documents/Places.h"
#include "Documents/Program.h"
#include "Lists/EntryFindings.h"
#include "Text/Declarations.h"
#include "Text/MapFile.h"
#include "Text/Policy.h"

#include <CLI/CLI.hpp>

/// The policy that a command is given: a document or a policy text, told apart by its content.
///
///     PolicyFile const policy = PolicyFile::read(options.policy);
///     auto const function = findFunction(policy.program(), options.policy.path, options.function);
///
/// What is wrong with it is a DocumentError; errors of a text are all of them, with their lines.
class PolicyFile {
public:
    /// What is named: the file, and its nodes' places if it is a document.
    struct Named {
        String path;
        /// A source map of the document; empty for none.
        String map = {};

        /// Adds the argument and --map; must outlive the parsing.
        void addTo(CLI::App & command);
    };

    /// Warnings of a text go to standard error. `along` is for documents alone.
    static PolicyFile read(Named const & named, Qcf::Documents::ReadAlong along = {});

    /// The same, but a text with errors is answered without its program, with all its messages.
    static PolicyFile readAll(Named const & named, Qcf::Documents::ReadAlong along = {});

    bool isText() const { return sources_ && sources_->size() != 0; }
    /// Whether it is a text that has errors.
    bool isUnreadable() const { return isText() && !text_; }

    Qcf::Documents::Program const & program() const { return program_; }
    /// `FILE:LINE:COLUMN` where there is a source map, else `FILE:POINTER`.
    String placeOf(Qcf::Eval::AetNodeBase const & node, Qcf::Eval::Function const & within) const;
    /// The node's place in the document within that function; empty for a text.
    String pointerOf(Qcf::Eval::AetNodeBase const & node, Qcf::Eval::Function const & within) const;
    /// The node's place in a text; null where none is known.
    Qcf::Text::MappedPlace const * mappedPlace(Qcf::Eval::AetNodeBase const & node) const {
        return hasMap() ? map().find(node.aetNodeKey()) : nullptr;
    }
    /// Adds what was found at a node of a text to the messages.
    void messageIs(Qcf::Eval::AetNodeBase const & node, char const * code, String const & text,
                   Qcf::Text::Severity severity = Qcf::Text::Severity::warning);
    void messageIs(Qcf::Text::Message message) { messages_.add(std::move(message)); }
    /// Brings the messages into the order of the texts again.
    void sortMessages() { messages_.sort(); }
    /// Whether nodes have places in a text.
    bool hasMap() const { return map_.has_value() || text_.has_value(); }
    /// All of these places; of a text they are worked out with the first call.
    Qcf::Text::PlaceMap const & map() const;

    /// The lists of the text, and those of the file over them; null where there is neither.
    /// The file may be a lists document or a policy text; empty for none. `findings` takes what is
    /// found about entries of either, where it is given.
    PtrConst<Qcf::Lists::NamedLists>
    listsWith(String const & file, Qcf::Lists::EntryFindings * findings = nullptr) const;

    /// The lists of the text as records, those of the file over them, for who writes them.
    std::vector<Qcf::Lists::ListRecord> listRecordsWith(String const & file) const;

    /// The text that it was; null for a document.
    Qcf::Text::Policy const * text() const { return text_ ? &*text_ : nullptr; }
    Qcf::Text::Sources const & sources() const { return *sources_; }
    Qcf::Text::Messages const & messages() const { return messages_; }
    /// Writes the text's warnings to standard error.
    void tellMessages() const;

    /// The file as it was asked for.
    String const & path() const { return path_; }
    /// The source map that was given; empty for none.
    String const & mapPath() const { return mapPath_; }

private:
    String path_;
    String mapPath_;
    Qcf::Documents::Program program_;
    std::shared_ptr<Qcf::Documents::Places> places_;
    mutable std::optional<Qcf::Text::PlaceMap> map_;
    std::optional<Qcf::Text::Policy> text_;
    std::shared_ptr<Qcf::Text::Sources> sources_;
    Qcf::Text::Messages messages_;
};

/// Errors of a policy text that lists were wanted from: as one error for people, and each by
/// itself.
class TextError : public DocumentError {
public:
    TextError(Qcf::Text::Messages messages, std::shared_ptr<Qcf::Text::Sources const> sources);

    Qcf::Text::Messages const & messages() const { return messages_; }
    Qcf::Text::Sources const & sources() const { return *sources_; }

private:
    Qcf::Text::Messages messages_;
    std::shared_ptr<Qcf::Text::Sources const> sources_;
};

/// Lists from a lists document or from a policy text. `findings` as above. Throws DocumentError, of
/// a text TextError.
PtrConst<Qcf::Lists::NamedLists> readListsOf(String const & file,
                                             Qcf::Lists::EntryFindings * findings = nullptr);
