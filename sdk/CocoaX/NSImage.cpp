#include "NSImage.h"

void NSImage::addRepresentation(std::shared_ptr<NSImageRep> const& rep) {
  if (rep) mRepresentations.push_back(rep);
}
