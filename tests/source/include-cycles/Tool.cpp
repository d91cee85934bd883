// A source without a header of its own.
#include "Player.h"
#include "Window.h"
