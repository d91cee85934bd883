// Colour wells read and written as plain component records, and two wells that switch the
// shared colour panel's opacity control on or off when they become active.
#pragma once

#include "NSColorWell.h"

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSColorWellWithAlpha_RegisterClasses();

struct color_4D {
  float red;
  float green;
  float blue;
  float alpha;
};

struct color_3D {
  float red;
  float green;
  float blue;
};

// Operations of every colour well, in calibrated RGB.
namespace AlphaHandling {

void setColor4D(NSColorWell* well, color_4D color);
// (0, 0, 0, 1) when the colour has no RGB value.
color_4D getColor4D(NSColorWell* well);
color_3D getColor3DOpaque(NSColorWell* well);
float getColorAlpha(NSColorWell* well);
QColor colorWithAlpha(NSColorWell* well);
QColor colorWithoutAlpha(NSColorWell* well);
void setColor3DOpaque(NSColorWell* well, color_3D color);
void setColor3D(NSColorWell* well, color_3D color);
// The second value is blue and the third green, as the name says.
bool setColorRedBlueGreenAlpha(NSColorWell* well, float red, float blue, float green, float alpha);
void setColor3DPreserveAlpha(NSColorWell* well, color_3D color);
void setColorPreserveAlpha(NSColorWell* well, QColor const& color);
bool setColorAlpha(NSColorWell* well, float alpha);

}  // namespace AlphaHandling

class NSColorWellWithAlpha : public NSColorWell {
  Q_OBJECT
 public:
  using NSColorWell::NSColorWell;
  void activate(bool exclusive) override;
};

class NSColorWellWithoutAlpha : public NSColorWell {
  Q_OBJECT
 public:
  using NSColorWell::NSColorWell;
  void activate(bool exclusive) override;
};
