// Start-up of the kit: registers the classes that user-interface files name, and checks them.
#pragma once

// Registers every class of the kit that user-interface files name; called once at start-up,
// before a nib is loaded (again is harmless).
void CocoaX_RegisterClasses();

// Checks that each class nibs name is registered (a missing one is logged); always true.
bool CocoaX_Init();
