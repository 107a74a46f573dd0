#pragma once

/// The words of a document: names of members that are no fields of nodes. Whoever reads or writes
/// one takes it from here, so that both sides cannot drift apart.
///
/// Fields of nodes stand under their own names, which their records have (QcfLib/NodeClass.h), and
/// kinds of lists under those of their table (QcfLib/FunctionMetadata.h).
///
///     auto const key = json.find(word::key);
namespace Qcf::Documents::word {

// Of the document itself.
inline constexpr char const * format = "qcf";
inline constexpr char const * formatName = "aet/1"; ///< the value of `format`
inline constexpr char const * nodes = "nodes";
inline constexpr char const * functions = "functions";

// Of a node's object.
inline constexpr char const * nodeClass = "class";
inline constexpr char const * key = "key";
/// The only member of an object that stands for a node written elsewhere: its key.
inline constexpr char const * reference = "ref";
/// An entry of `functions` calls its name so, and has no class.
inline constexpr char const * functionName = "name";

// Of values that are objects.
inline constexpr char const * communityValue = "value";
inline constexpr char const * communityType = "type";
inline constexpr char const * ribEntries = "entries";
inline constexpr char const * ribName = "name";
inline constexpr char const * ribKind = "kind";
inline constexpr char const * useDefaultRib = "useDefault";
inline constexpr char const * readAttributes = "read";
inline constexpr char const * writtenAttributes = "write";
/// The other name of the lists that are known as `DynPrefixListsUsed`: the one kind whose name the
/// names of the others would lead one to write in this way.
inline constexpr char const * dynamicPrefixLists = "dynPrefixListsUsed";

} // namespace Qcf::Documents::word
