#include "Player.h"

#include "Window.h"
#include "NotHere.h"
// #include "Tool.h"
