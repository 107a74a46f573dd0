#pragma once

#include "Text/Cursor.h"
#include "Text/ListDeclaration.h"
#include "Text/Patterns.h"

namespace Qcf::Text {

/// Reads what stands between the braces of a list's declaration, an entry after the other. An entry
/// with an error is told and passed over.
class ListEntryReader {
public:
    ListEntryReader(Cursor & cursor, ConstantScope const & constants, Lists::ListKind kind)
        : cursor_(cursor), constants_(constants), kind_(kind) {}

    // Each reads from the opening brace to the closing one; throws Recovery where one is missing.
    void read(Lists::PrefixListRecord & list);
    void read(Lists::DynamicPrefixListRecord & list);
    template <typename List>
    void read(Lists::CommunityListRecord<List> & list);
    void read(Lists::AsPathListRecord & list);
    void read(Lists::TagSetRecord & list);
    void read(Lists::RoaTableRecord & list);

private:
    /// What stands at the front of entries that are tried in their order.
    struct Front {
        U32 seq;
        Lists::ListAction action;
    };

    // The loop over entries (ListEntryReader.cpp).
    template <typename ReadEntry>
    void eachEntry(ReadEntry const & readEntry) {
        Token const opening = cursor_.expect("{");
        while (!atEndOfList(opening)) {
            Token const first = cursor_.now();
            try {
                readEntry();
                passSeparator();
            } catch (Recovery const &) {
                skipEntry(first);
            }
        }
    }
    bool atEndOfList(Token const & opening);
    void passSeparator();
    void skipEntry(Token const & first);
    bool startsEntry() const;

    // Pieces that several kinds have.
    Front readFront(std::optional<U32> & lastSeq);
    U32 readSeq(std::optional<U32> lastSeq);
    Lists::ListAction readAction();
    template <typename ReadSection>
    void readSection(bool & seen, ReadSection const & readContent);
    void readPrefixEntries(AddressFamily family, std::vector<Lists::PrefixListEntry> & entries);
    IpGenPrefix readPrefix(AddressFamily family);
    void readLengths(Lists::PrefixListEntry & entry);
    U8 readLength(char const * word, Lists::LengthBounds bounds, AddressFamily family,
                  String const & least);
    U64 readNumber(U64 most, char const * what);
    void readVrf(Lists::DynamicPrefixListRecord & list);
    Lists::WrittenPattern readPattern(Lists::WrittenPattern (*make)(std::string_view));
    /// Tells what is wanted, and what an entry of the kind looks like.
    [[noreturn]] void failEntry(String const & wanted, String suggestion = {});

    // Communities (ListCommunityReader.cpp).
    template <typename List>
    void readCommunities(typename Lists::CommunityListRecord<List>::Entry & entry);
    template <typename List>
    void readCommunity(std::vector<typename Lists::CommunityListRecord<List>::Value> & values);
    [[noreturn]] void failCommunity(std::string_view word);
    bool atTemplate() const;
    String readTemplate();
    TemplatePart templatePart(std::string_view text, U32 most, Span const & span);

    // Numbers (ListNumberReader.cpp).
    Lists::WrittenPattern readPathPattern();
    PathEntry readPathEntry();
    void readNumbers(std::vector<NumberRange> & numbers);
    NumberRange numberRange(String const & text, Span const & span);
    U32 readAsToken();
    std::optional<U64> readOrigin();

    /// The literals of the constant that the word names, if it does.
    std::span<String const> constantWords() const;
    [[noreturn]] void failName(std::span<std::string_view const> others);

    Cursor & cursor_;
    ConstantScope const & constants_;
    Lists::ListKind kind_;
    /// Of a dynamic prefix list: entries are read, not the words before their braces.
    bool inSection_ = false;
    /// Entries are those of a covered list.
    bool isCovered_ = false;
};

} // namespace Qcf::Text
