// The share entries of a network device's shares reply and their order.
#pragma once

#include <string>
#include <vector>

#include "qvtransfer/Value.h"

namespace qvt::destination {

// The entry of one share: "share_name", "public_access" and "share_access" copied in that
// order, stopping at the first key the share lacks (a share without a name gives an empty
// entry; one without "public_access" an entry with the name alone). Anything that is not a
// record gives an empty entry.
Record makeShareEntry(const Value& share);

// Private shares ("false") before public ones ("true"), each group by name; plain,
// case-sensitive text order ("Backup" before "alice"). An entry lacking a key sorts first.
void sortShareEntries(std::vector<Record>& entries);

// The folders left in the mount folder by an earlier run: its visible entries as full paths.
std::vector<std::string> leftoverMountPoints(const std::string& mountFolder);

}  // namespace qvt::destination
