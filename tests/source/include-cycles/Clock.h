#pragma once

class Clock {};
