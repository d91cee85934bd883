#include "Clock.h"
