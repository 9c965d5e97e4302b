// Switches read from the environment at the moment they are needed.
#pragma once

namespace config {

// GENTL_COMPAT_OPEN=1: opening works for consumers that skip the list updates and ask for
// control access (the list is updated on demand and control access is taken as exclusive).
bool CompatOpen();
// GENTL_GEV_RCVBUF: the receive buffer (bytes) a GigE Vision stream asks for instead of its
// default; 0 when unset or not a positive number below 2 GiB.
int GevReceiveBuffer();
// GENTL_GEV_PACKET_RING=0: a GigE Vision stream reads its socket even where it could use a
// packet ring.
bool GevPacketRing();

}  // namespace config
