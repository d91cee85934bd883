#include "Window.h"

#include "Clock.h"
#include "Player.h"
