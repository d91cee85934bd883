#include "DVDCaption.h"

#include "PlatformLog.h"

extern "C" {
#include <ass/ass.h>
}

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace dvd {

namespace {

void LibassMessage(int level, char const* format, va_list args, void*) {
  if (level > 2) return;  // errors and warnings only
  char text[512];
  std::vsnprintf(text, sizeof text, format, args);
  PlatformLog("libass: %s", text);
}

// One renderer for the process; libass's objects are not shared between threads.
struct Renderer {
  std::mutex mutex;  // DVDLockOrder.h: drawing (7), last of them
  ASS_Library* library = nullptr;
  ASS_Renderer* renderer = nullptr;

  Renderer() {
    library = ass_library_init();
    if (!library) return;
    ass_set_message_cb(library, LibassMessage, nullptr);
    renderer = ass_renderer_init(library);
    if (renderer) ass_set_fonts(renderer, nullptr, "monospace", ASS_FONTPROVIDER_AUTODETECT, nullptr, 1);
  }
  ~Renderer() {
    if (renderer) ass_renderer_done(renderer);
    if (library) ass_library_done(library);
  }
};

Renderer& TheRenderer() {
  static Renderer renderer;
  return renderer;
}

// The words as an ASS event's text: rows as \N, the characters ASS reads as markup escaped.
std::string EventText(std::string const& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') {
      out += "\\N";
    } else if (c == '{' || c == '}' || c == '\\') {
      out += '\\';
      out += c;
    } else {
      out += c;
    }
  }
  return out;
}

std::string Script(std::string const& text, int width, int height) {
  // Rows the size of the 15 caption rows of the picture's safe area; boxed, bottom centre.
  int const size = std::max(8, height / 20);
  int const margin = std::max(4, height / 12);
  char header[1024];
  std::snprintf(header, sizeof header,
                "[Script Info]\nScriptType: v4.00+\nPlayResX: %d\nPlayResY: %d\n"
                "ScaledBorderAndShadow: yes\nWrapStyle: 2\n\n"
                "[V4+ Styles]\nFormat: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, "
                "OutlineColour, BackColour, Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, "
                "Spacing, Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, "
                "MarginV, Encoding\n"
                "Style: Caption,Monospace,%d,&H00FFFFFF,&H00FFFFFF,&H00000000,&H00000000,0,0,0,"
                "0,100,100,0,0,3,%d,0,2,%d,%d,%d,1\n\n"
                "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, "
                "Effect, Text\nDialogue: 0,0:00:00.00,9:00:00.00,Caption,,0,0,0,,",
                width, height, size, std::max(1, size / 6), margin, margin, margin);
  return header + EventText(text) + "\n";
}

}  // namespace

std::vector<uint8_t> const& DVDCaption::Layer(int width, int height, int displayWidth) const {
  std::lock_guard<std::mutex> g(mDrawn->mutex);
  Drawn& drawn = *mDrawn;
  if (drawn.width == width && drawn.height == height && drawn.displayWidth == displayWidth) {
    return drawn.pixels;
  }
  drawn.width = width;
  drawn.height = height;
  drawn.displayWidth = displayWidth;
  drawn.pixels.clear();
  if (width <= 0 || height <= 0 || text.empty()) return drawn.pixels;
  Renderer& r = TheRenderer();
  std::lock_guard<std::mutex> rg(r.mutex);
  if (!r.renderer) {
    PlatformLog("DVDCaption::Layer: libass cannot draw captions");
    return drawn.pixels;
  }
  ASS_Track* const track = ass_new_track(r.library);
  if (!track) return drawn.pixels;
  std::string script = Script(text, width, height);
  ass_process_data(track, script.data(), int(script.size()));
  ass_set_frame_size(r.renderer, width, height);
  ass_set_storage_size(r.renderer, width, height);
  // Letters drawn narrower on pixels shown wider, so that they keep their shape on screen.
  ass_set_pixel_aspect(r.renderer, displayWidth > 0 ? double(displayWidth) / width : 1.0);
  int changed = 0;
  drawn.pixels.assign(size_t(width) * size_t(height) * 4, 0);
  for (ASS_Image const* image = ass_render_frame(r.renderer, track, 0, &changed); image;
       image = image->next) {
    uint8_t const red = uint8_t(image->color >> 24);
    uint8_t const green = uint8_t(image->color >> 16);
    uint8_t const blue = uint8_t(image->color >> 8);
    unsigned const opacity = 255u - (image->color & 0xFFu);
    std::vector<uint8_t> one(drawn.pixels.size(), 0);
    for (int y = 0; y < image->h; ++y) {
      int const py = image->dst_y + y;
      if (py < 0 || py >= height) continue;
      for (int x = 0; x < image->w; ++x) {
        int const px = image->dst_x + x;
        if (px < 0 || px >= width) continue;
        unsigned const a = image->bitmap[y * image->stride + x] * opacity / 255u;
        if (a == 0) continue;
        uint8_t* const d = &one[(size_t(py) * width + px) * 4];
        d[0] = red;
        d[1] = green;
        d[2] = blue;
        d[3] = uint8_t(a);
      }
    }
    BlendOverLayer(one, drawn.pixels.data(), width, height);
  }
  ass_free_track(track);
  return drawn.pixels;
}

void DVDCaption::BlendOverRGB(std::vector<uint8_t> const& layer, uint8_t* rgb, int width,
                              int height, int rowBytes) {
  if (layer.size() != size_t(width) * size_t(height) * 4) return;
  for (int y = 0; y < height; ++y) {
    uint8_t* row = rgb + size_t(y) * size_t(rowBytes);
    uint8_t const* s = &layer[size_t(y) * size_t(width) * 4];
    for (int x = 0; x < width; ++x, s += 4, row += 3) {
      unsigned const a = s[3];
      if (a == 0) continue;
      for (int c = 0; c < 3; ++c) row[c] = uint8_t((s[c] * a + row[c] * (255u - a) + 127u) / 255u);
    }
  }
}

void DVDCaption::BlendOverLayer(std::vector<uint8_t> const& layer, uint8_t* rgba, int width,
                                int height) {
  size_t const pixels = size_t(width) * size_t(height);
  if (layer.size() != pixels * 4) return;
  for (size_t i = 0; i < pixels; ++i) {
    uint8_t const* s = &layer[i * 4];
    uint8_t* d = &rgba[i * 4];
    unsigned const sa = s[3];
    if (sa == 0) continue;
    unsigned const da = d[3] * (255u - sa) / 255u;  // what shows of the layer below
    unsigned const out = sa + da;
    for (int c = 0; c < 3; ++c) d[c] = uint8_t((s[c] * sa + d[c] * da + out / 2) / out);
    d[3] = uint8_t(out);
  }
}

}  // namespace dvd
