#pragma once

#include <string>
#include <string_view>

#include "cli/fleet/Fleet.h"
#include "cli/fleet/JsonPieces.h"

namespace quorvel {

/// Reads one inventory, whose format its content tells: osquery's rows, an osqueryd log of snapshots, a Fleet
/// query report, munki's property list. Adds its hosts to the fleet, or the failure; of a log, the lines that
/// are whole count all the same.
/// `source`: as reports name it. `name`: of a host that the inventory does not name.
void readInventory(Fleet& fleet, const std::string& source, std::string_view name, ByteReader read);

}  // namespace quorvel
