#pragma once

class Window {};
