#include "NSColorWellWithAlpha.h"

#include "NSClassRegistry.h"

#include "CoreMachDebugLog.h"

void NSColorWellWithAlpha_RegisterClasses() {
  NS_REGISTER_CLASS(NSColorWellWithAlpha);
  NS_REGISTER_CLASS(NSColorWellWithoutAlpha);
}

namespace AlphaHandling {

namespace {

QColor CalibratedRGB(float red, float green, float blue, float alpha) {
  auto const unit = [](float v) { return qBound(0.0f, v, 1.0f); };
  return QColor::fromRgbF(unit(red), unit(green), unit(blue), unit(alpha));
}

}  // namespace

void setColor4D(NSColorWell* well, color_4D color) {
  well->setColor(CalibratedRGB(color.red, color.green, color.blue, color.alpha));
}

color_4D getColor4D(NSColorWell* well) {
  color_4D result = {0.0f, 0.0f, 0.0f, 1.0f};
  std::optional<QColor> const currentRGB = NSColor_colorUsingCalibratedRGB(well->color());
  if (!CoreVerify(currentRGB)) return result;
  result.red = currentRGB->redF();
  result.green = currentRGB->greenF();
  result.blue = currentRGB->blueF();
  result.alpha = currentRGB->alphaF();
  return result;
}

color_3D getColor3DOpaque(NSColorWell* well) {
  color_4D const c = getColor4D(well);
  return {c.red, c.green, c.blue};
}

float getColorAlpha(NSColorWell* well) { return getColor4D(well).alpha; }

QColor colorWithAlpha(NSColorWell* well) {
  color_4D const c = getColor4D(well);
  return CalibratedRGB(c.red, c.green, c.blue, c.alpha);
}

QColor colorWithoutAlpha(NSColorWell* well) {
  color_3D const c = getColor3DOpaque(well);
  return CalibratedRGB(c.red, c.green, c.blue, 1.0f);
}

void setColor3DOpaque(NSColorWell* well, color_3D color) {
  well->setColor(CalibratedRGB(color.red, color.green, color.blue, 1.0f));
}

void setColor3D(NSColorWell* well, color_3D color) { setColor3DOpaque(well, color); }

bool setColorRedBlueGreenAlpha(NSColorWell* well, float red, float blue, float green,
                               float alpha) {
  well->setColor(CalibratedRGB(red, green, blue, alpha));
  return true;
}

void setColor3DPreserveAlpha(NSColorWell* well, color_3D color) {
  float const alpha = getColorAlpha(well);
  setColorRedBlueGreenAlpha(well, color.red, color.blue, color.green, alpha);
}

void setColorPreserveAlpha(NSColorWell* well, QColor const& color) {
  std::optional<QColor> const currentRGB = NSColor_colorUsingCalibratedRGB(well->color());
  if (!CoreVerify(currentRGB)) return;
  well->setColor(CalibratedRGB(color.redF(), color.greenF(), color.blueF(), currentRGB->alphaF()));
}

bool setColorAlpha(NSColorWell* well, float alpha) {
  std::optional<QColor> const currentRGB = NSColor_colorUsingCalibratedRGB(well->color());
  if (!CoreVerify(currentRGB)) return false;
  well->setColor(CalibratedRGB(currentRGB->redF(), currentRGB->greenF(), currentRGB->blueF(), alpha));
  return true;
}

}  // namespace AlphaHandling

void NSColorWellWithAlpha::activate(bool exclusive) {
  // The panel gets its opacity control before this well takes it over.
  NSColorPanel::setShowsAlpha(true);
  NSColorWell::activate(exclusive);
}

void NSColorWellWithoutAlpha::activate(bool exclusive) {
  // Corrected after the base activation has brought the panel up.
  NSColorWell::activate(exclusive);
  NSColorPanel::setShowsAlpha(false);
}
