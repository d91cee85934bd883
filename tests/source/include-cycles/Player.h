// A player whose sources include its window and its menus, which include it back: the
// include-cycle check must refuse the three; Clock and Tool are in no cycle.
#pragma once

#include "Clock.h"

class Player {};
