// Reading pictures back with an independent decoder (ImageMagick) and a test bitmap.
#pragma once

#include "NSBitmapImageRep.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace tavelo_test {

// 8-bit RGB samples of the picture at path, rows from the top; empty when it cannot be read.
inline std::vector<unsigned char> DecodeRGB(std::string const& path, int& width, int& height) {
  width = height = 0;
  std::string const size = "identify -format '%w %h' '" + path + "' 2>/dev/null";
  if (FILE* p = ::popen(size.c_str(), "r")) {
    if (std::fscanf(p, "%d %d", &width, &height) != 2) width = height = 0;
    ::pclose(p);
  }
  std::vector<unsigned char> out;
  if (width <= 0 || height <= 0) return out;
  std::string const command = "convert '" + path + "' -depth 8 rgb:- 2>/dev/null";
  if (FILE* p = ::popen(command.c_str(), "r")) {
    out.resize(std::size_t(width) * std::size_t(height) * 3);
    std::size_t const got = std::fread(out.data(), 1, out.size(), p);
    ::pclose(p);
    if (got != out.size()) out.clear();
  }
  return out;
}

// ImageMagick's word for the channels ("srgb", "srgba", "gray", ...).
inline std::string Channels(std::string const& path) {
  std::string const command = "identify -format '%[channels]' '" + path + "' 2>/dev/null";
  std::string text;
  if (FILE* p = ::popen(command.c_str(), "r")) {
    char buffer[64];
    while (std::fgets(buffer, sizeof buffer, p)) text += buffer;
    ::pclose(p);
  }
  return text;
}

// A 32-bit R, G, B, unused bitmap with a pattern in every channel and junk in the unused byte.
inline std::unique_ptr<NSBitmapImageRep> PatternBitmap(long width = 64, long height = 48) {
  auto rep = std::make_unique<NSBitmapImageRep>(nullptr, width, height, 8, 3, false, 0, 32);
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      unsigned char* p = rep->bitmapData() + y * rep->bytesPerRow() + x * 4;
      p[0] = (unsigned char)(x * 4);
      p[1] = (unsigned char)(y * 5);
      p[2] = (unsigned char)((x + y) * 2);
      p[3] = (unsigned char)(x ^ y);  // must not show up as alpha
    }
  }
  return rep;
}

// The bitmap's R, G, B samples.
inline std::vector<unsigned char> RGBOf(NSBitmapImageRep const& rep) {
  std::vector<unsigned char> out;
  long const bytes = rep.bitsPerPixel() / 8;
  for (long y = 0; y < rep.pixelsHigh(); ++y)
    for (long x = 0; x < rep.pixelsWide(); ++x)
      for (int c = 0; c < 3; ++c) {
        long const sample = rep.samplesPerPixel() >= 3 ? c : 0;
        out.push_back(rep.bitmapData()[y * rep.bytesPerRow() + x * bytes + sample]);
      }
  return out;
}

inline int MaxDifference(std::vector<unsigned char> const& a, std::vector<unsigned char> const& b) {
  if (a.size() != b.size()) return 256;
  int worst = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    int const d = a[i] > b[i] ? a[i] - b[i] : b[i] - a[i];
    if (d > worst) worst = d;
  }
  return worst;
}

}  // namespace tavelo_test
