// The GigE Vision bootstrap register map by name, for the diagnostic printout.
#pragma once

namespace gevbootstrap {

// Logs one line per bootstrap register, "name = address" with the tag "BSR" at info level.
void LogMap();

}  // namespace gevbootstrap
