#pragma once

/// The words of a lists document: whoever reads or writes one takes it from here. The names of its
/// sections are `sectionName`.
namespace Qcf::Lists::word {

inline constexpr char const * format = "qcf";
inline constexpr char const * formatName = "lists/1"; ///< the value of `format`

// Of prefix lists.
inline constexpr char const * family = "family";
inline constexpr char const * v4 = "v4";
inline constexpr char const * v6 = "v6";
inline constexpr char const * covered = "covered";
inline constexpr char const * entries = "entries";
inline constexpr char const * vrfs = "vrfs";

// Of entries.
inline constexpr char const * seq = "seq";
inline constexpr char const * action = "action";
inline constexpr char const * prefix = "prefix";
inline constexpr char const * ge = "ge";
inline constexpr char const * le = "le";
inline constexpr char const * communities = "communities";
inline constexpr char const * regex = "regex";
inline constexpr char const * origin = "origin";
inline constexpr char const * anyOrigin = "any"; ///< a value of `origin`, the same as none

// Of ROAs, and of the file that has them.
inline constexpr char const * maxLength = "maxLength";
inline constexpr char const * asn = "asn";
inline constexpr char const * file = "file";

} // namespace Qcf::Lists::word
