// The menu part of Player: its module is Player.
#include "Player.h"

#include "Menu.h"
