// The window-procedure maps' place in start-up.
#pragma once

inline namespace kelvane {

// Prepares the lock that guards the maps. Called by start-up, again on every start.
void AdvInitMapping();

}  // namespace kelvane
