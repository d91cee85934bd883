// Start-up of the kit: makes sure every class that user-interface files name is registered.
#pragma once

// Checks that each class nibs name is registered (a missing one is logged); always true.
bool CocoaX_Init();

// Anchors of the modules that register classes by name; referencing them links those
// modules into any program that links CocoaX_Init.
inline constexpr int kCocoaXModuleAnchorCount = 8;
extern bool (*const kCocoaXModuleAnchors[kCocoaXModuleAnchorCount])();
