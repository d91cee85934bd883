// Reads what a window on the test's X server shows, for the end-to-end scripts: one call of a
// few milliseconds where ImageMagick's import, convert and a text pass took a tenth of a
// second or more of the CPU each time a script looked. The scripts look many times a second.
//
//   window-probe barcode WINDOW TOP LEFT WIDTH   the barcoded frame number, -1 when unreadable
//   window-probe pixel WINDOW X Y                R G B
//   window-probe sum WINDOW [WxH+X+Y]            a hash of every pixel (of a part)
//   window-probe ppm WINDOW FILE [WxH+X+Y]       the window (or a part) as a binary PPM
//   window-probe txt WINDOW [WxH+X+Y]            ImageMagick's txt: lines (x,y: (r,g,b)  #RRGGBB)
//
// WINDOW is an id as xdotool prints it, root, or a binary PPM file (a saved picture converted,
// so that the barcode on screen and in a file is read by one decoder). What cannot be read (a
// window gone or unmapped, a part outside it, a file that is not PPM) exits with 1 and prints
// nothing, but barcode, which prints -1.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

bool sXError = false;

int NoteXError(Display*, XErrorEvent*)
{
  sXError = true;
  return 0;
}

struct Rgb {
  unsigned r = 0, g = 0, b = 0;
};

// One capture of a window's area, as 8-bit RGB.
struct Capture {
  int mWidth = 0;
  int mHeight = 0;
  std::vector<Rgb> mPixels;

  Rgb const& At(int x, int y) const { return mPixels[static_cast<size_t>(y) * mWidth + x]; }
};

unsigned Channel(unsigned long pixel, unsigned long mask)
{
  if (mask == 0) return 0;
  int shift = 0;
  while (((mask >> shift) & 1) == 0) shift++;
  unsigned long const max = mask >> shift;
  return static_cast<unsigned>(((pixel & mask) >> shift) * 255 / max);
}

struct DisplayCloser {
  void operator()(Display* display) const { XCloseDisplay(display); }
};
struct ImageDestroyer {
  void operator()(XImage* image) const { XDestroyImage(image); }
};

// A width of 0 takes the window's whole area from x, y.
bool CaptureWindow(Window window, int x, int y, int width, int height, Capture& capture)
{
  std::unique_ptr<Display, DisplayCloser> display(XOpenDisplay(nullptr));
  if (!display) return false;
  XSetErrorHandler(NoteXError);
  if (window == None) window = DefaultRootWindow(display.get());
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(display.get(), window, &attributes) || sXError) return false;
  if (attributes.map_state != IsViewable) return false;
  if (width == 0) {
    width = attributes.width - x;
    height = attributes.height - y;
  }
  if (x < 0 || y < 0 || width <= 0 || height <= 0 || x + width > attributes.width ||
      y + height > attributes.height)
    return false;
  std::unique_ptr<XImage, ImageDestroyer> image(
      XGetImage(display.get(), window, x, y, static_cast<unsigned>(width),
                static_cast<unsigned>(height), AllPlanes, ZPixmap));
  XSync(display.get(), False);
  if (!image || sXError) return false;
  Visual const* visual = attributes.visual;
  capture.mWidth = width;
  capture.mHeight = height;
  capture.mPixels.resize(static_cast<size_t>(width) * height);
  for (int row = 0; row < height; row++) {
    for (int column = 0; column < width; column++) {
      unsigned long const pixel = XGetPixel(image.get(), column, row);
      capture.mPixels[static_cast<size_t>(row) * width + column] = {
          Channel(pixel, visual->red_mask), Channel(pixel, visual->green_mask),
          Channel(pixel, visual->blue_mask)};
    }
  }
  return true;
}

// A binary PPM (P6, 8 bits), the part at x, y as CaptureWindow takes it.
bool ReadPpm(std::string const& path, int x, int y, int width, int height, Capture& capture)
{
  std::ifstream file(path, std::ios::binary);
  std::string const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  size_t at = 0;
  auto token = [&bytes, &at]() {
    while (at < bytes.size() && (std::isspace(static_cast<unsigned char>(bytes[at])) || bytes[at] == '#')) {
      if (bytes[at] == '#')
        while (at < bytes.size() && bytes[at] != '\n') at++;
      else
        at++;
    }
    size_t const from = at;
    while (at < bytes.size() && !std::isspace(static_cast<unsigned char>(bytes[at]))) at++;
    return bytes.substr(from, at - from);
  };
  if (token() != "P6") return false;
  int const fullWidth = std::atoi(token().c_str()), fullHeight = std::atoi(token().c_str());
  if (token() != "255" || fullWidth <= 0 || fullHeight <= 0) return false;
  at++;  // the one white space before the pixels
  if (bytes.size() - std::min(at, bytes.size()) < static_cast<size_t>(fullWidth) * fullHeight * 3)
    return false;
  if (width == 0) {
    width = fullWidth - x;
    height = fullHeight - y;
  }
  if (x < 0 || y < 0 || width <= 0 || height <= 0 || x + width > fullWidth || y + height > fullHeight)
    return false;
  capture.mWidth = width;
  capture.mHeight = height;
  capture.mPixels.resize(static_cast<size_t>(width) * height);
  for (int row = 0; row < height; row++) {
    for (int column = 0; column < width; column++) {
      auto const* p = reinterpret_cast<unsigned char const*>(bytes.data()) + at +
                      (static_cast<size_t>(y + row) * fullWidth + x + column) * 3;
      capture.mPixels[static_cast<size_t>(row) * width + column] = {p[0], p[1], p[2]};
    }
  }
  return true;
}

// What is read: a window (None for the root window) or a PPM file.
struct Source {
  Window mWindow = None;
  std::string mPpm;
};

bool Read(Source const& source, int x, int y, int width, int height, Capture& capture)
{
  return source.mPpm.empty() ? CaptureWindow(source.mWindow, x, y, width, height, capture)
                             : ReadPpm(source.mPpm, x, y, width, height, capture);
}

bool Number(char const* text, long& value)
{
  char* end = nullptr;
  value = std::strtol(text, &end, 0);
  return end != text && *end == '\0';
}

// root, a window id, or else a file's path.
bool ParseSource(char const* text, Source& source)
{
  if (std::strcmp(text, "root") == 0) return true;
  long value = 0;
  if (Number(text, value)) {
    source.mWindow = static_cast<Window>(value);
    return value > 0;
  }
  source.mPpm = text;
  return !source.mPpm.empty();
}

// WxH+X+Y
bool Geometry(char const* text, int& width, int& height, int& x, int& y)
{
  return std::sscanf(text, "%dx%d+%d+%d", &width, &height, &x, &y) == 4;
}

// The barcoded discs burn the frame number into rows 8-40 of each 720-wide picture: 16 blocks
// 45 wide, most significant first, white for 1 and black for 0. Read in the row 24 below TOP
// of a picture shown WIDTH wide from LEFT.
int Barcode(Source const& source, int top, int left, int width)
{
  Capture row;
  if (!Read(source, left, top + 24, width, 1, row)) return -1;
  int value = 0;
  for (int i = 0; i < 16; i++) {
    unsigned const green = row.At((i * 45 + 22) * width / 720, 0).g;
    if (green >= 192)
      value = value * 2 + 1;
    else if (green <= 64)
      value = value * 2;
    else
      return -1;
  }
  return value;
}

int Usage()
{
  std::fputs("usage: window-probe barcode WINDOW TOP LEFT WIDTH | pixel WINDOW X Y | sum WINDOW"
             " [WxH+X+Y] |"
             " ppm WINDOW FILE [WxH+X+Y] | txt WINDOW [WxH+X+Y]\n",
             stderr);
  return 2;
}

bool WritePpm(Capture const& capture, char const* path)
{
  std::string const partial = std::string(path) + ".part";
  FILE* file = std::fopen(partial.c_str(), "wb");
  if (!file) return false;
  std::fprintf(file, "P6\n%d %d\n255\n", capture.mWidth, capture.mHeight);
  std::vector<unsigned char> bytes;
  bytes.reserve(capture.mPixels.size() * 3);
  for (Rgb const& p : capture.mPixels) {
    bytes.push_back(static_cast<unsigned char>(p.r));
    bytes.push_back(static_cast<unsigned char>(p.g));
    bytes.push_back(static_cast<unsigned char>(p.b));
  }
  bool const written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (std::fclose(file) != 0 || !written || std::rename(partial.c_str(), path) != 0) {
    std::remove(partial.c_str());
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv)
{
  if (argc < 3) return Usage();
  std::string const verb = argv[1];
  Source source;
  if (!ParseSource(argv[2], source)) return Usage();
  int width = 0, height = 0, x = 0, y = 0;

  if (verb == "barcode") {
    long top = 0, left = 0, shown = 0;
    if (argc != 6 || !Number(argv[3], top) || !Number(argv[4], left) || !Number(argv[5], shown) ||
        shown <= 0)
      return Usage();
    std::printf("%d\n", Barcode(source, static_cast<int>(top), static_cast<int>(left),
                                static_cast<int>(shown)));
    return 0;
  }
  if (verb == "pixel") {
    long px = 0, py = 0;
    if (argc != 5 || !Number(argv[3], px) || !Number(argv[4], py)) return Usage();
    Capture one;
    if (!Read(source, static_cast<int>(px), static_cast<int>(py), 1, 1, one)) return 1;
    std::printf("%u %u %u\n", one.At(0, 0).r, one.At(0, 0).g, one.At(0, 0).b);
    return 0;
  }
  if (verb == "sum") {
    if (argc != 3 && argc != 4) return Usage();
    if (argc == 4 && !Geometry(argv[3], width, height, x, y)) return Usage();
    Capture all;
    if (!Read(source, x, y, width, height, all)) return 1;
    // FNV-1a over the size and every pixel.
    std::uint64_t hash = 14695981039346656037ull;
    auto mix = [&hash](unsigned value) {
      hash ^= value;
      hash *= 1099511628211ull;
    };
    mix(static_cast<unsigned>(all.mWidth));
    mix(static_cast<unsigned>(all.mHeight));
    for (Rgb const& p : all.mPixels) mix(p.r << 16 | p.g << 8 | p.b);
    std::printf("%016llx\n", static_cast<unsigned long long>(hash));
    return 0;
  }
  if (verb == "ppm" || verb == "txt") {
    int const area = verb == "ppm" ? 4 : 3;
    if (argc != area && argc != area + 1) return Usage();
    if (argc == area + 1 && !Geometry(argv[area], width, height, x, y)) return Usage();
    Capture part;
    if (!Read(source, x, y, width, height, part)) return 1;
    if (verb == "ppm") return WritePpm(part, argv[3]) ? 0 : 1;
    std::printf("# ImageMagick pixel enumeration: %d,%d,255,srgb\n", part.mWidth, part.mHeight);
    for (int row = 0; row < part.mHeight; row++) {
      for (int column = 0; column < part.mWidth; column++) {
        Rgb const& p = part.At(column, row);
        std::printf("%d,%d: (%u,%u,%u)  #%02X%02X%02X\n", column, row, p.r, p.g, p.b, p.r, p.g, p.b);
      }
    }
    return 0;
  }
  return Usage();
}
