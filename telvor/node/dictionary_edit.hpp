// Saving an edited node back into the dictionary it was read from, without losing anything
// the edit did not touch.
//
//   telvor::PropertyDictionary& stored = ...;          // as the settings store holds it
//   const telvor::DicomNode before(stored);
//   telvor::DicomNode after = before;
//   after.port = "11112";
//   telvor::applyDictionaryEdit(stored, before, after); // writes "Port" only
//
// `toDictionary()` writes every key afresh: a C-MOVE node's saved WADO keys come back as
// defaults, and keys of other applications are not in it at all. A settings store that
// replaced a node's dictionary with `toDictionary()` after each edit would erase them.
// This writes only the keys whose values the edit changed.
#pragma once
#include <string>
#include <vector>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// What an edit did to the stored dictionary, key by key.
struct DictionaryEdit {
  bool applied = false;               // false: `after` has no dictionary form, nothing changed
  std::vector<std::string> written;   // keys set, in key order
  std::vector<std::string> removed;   // keys taken out ("isQueryable", "icon")
};

// Writes into `stored` the keys of `after.toDictionary()` whose values differ from those of
// `before.toDictionary()`, and removes "isQueryable" or "icon" where the new form leaves
// them out but the old one had them. When the edit turns the node into a WADO node, the
// six WADO keys are written as well, since they are read only for WADO nodes and the
// stored ones may be stale. Every other entry of `stored` stays as it is, unknown keys
// included. `before` must be the node as read from `stored` (`DicomNode(stored)`); when
// it has no dictionary form (a required field was missing), every key of `after`'s form
// that differs from `stored` is written. When `after` has no dictionary form, nothing is
// changed and `applied` is false.
TELVOR_API DictionaryEdit applyDictionaryEdit(PropertyDictionary& stored, const DicomNode& before,
                                              const DicomNode& after);

}  // namespace telvor
