#pragma once

#include "Player.h"

class Menu {};
