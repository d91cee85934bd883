// Encoding and writing a grabbed frame as JPEG (0.75), PNG and TIFF: our writer, Qt's
// writers, and the command-line tools cjpeg and ImageMagick fed the same pixels as PPM.
#include "NSBitmapImageRep.h"
#include "NSData_AtomicFile.h"

#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QImage>
#include <QImageWriter>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <png.h>

extern char** environ;

namespace {

std::string const& WorkDir() {
  static std::string const dir = [] {
    char const* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tavelo-bench-XXXXXX";
    if (!::mkdtemp(pattern.data())) std::abort();
    return pattern;
  }();
  return dir;
}

// A frame that compresses like video: gradients, blocks with edges and sensor noise.
// 32 bits per pixel, R, G, B, unused, the layout the screen grab produces.
struct Frame {
  long width, height;
  std::vector<unsigned char> rgbx;
  std::string ppmPath;
};

Frame const& FrameOf(long width, long height) {
  static std::map<long, std::unique_ptr<Frame>> frames;
  auto& slot = frames[width * 100000 + height];
  if (slot) return *slot;
  slot = std::make_unique<Frame>();
  Frame& f = *slot;
  f.width = width;
  f.height = height;
  f.rgbx.resize(std::size_t(width * height * 4));
  unsigned seed = 12345;
  auto noise = [&seed] {
    seed = seed * 1103515245u + 12345u;
    return int((seed >> 16) & 15) - 8;
  };
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      unsigned char* p = &f.rgbx[std::size_t((y * width + x) * 4)];
      int r = int(255 * x / width), g = int(255 * y / height), b = 128;
      if (((x / 97) + (y / 61)) % 3 == 0) { r = 255 - r; b = 40; }
      if ((x - width / 2) * (x - width / 2) + (y - height / 2) * (y - height / 2) < height * height / 16) {
        r = 230; g = 200; b = 180;
      }
      auto clamp = [](int v) { return (unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v); };
      p[0] = clamp(r + noise());
      p[1] = clamp(g + noise());
      p[2] = clamp(b + noise());
      p[3] = 0;
    }
  }
  f.ppmPath = WorkDir() + "/frame-" + std::to_string(width) + "x" + std::to_string(height) + ".ppm";
  FILE* out = std::fopen(f.ppmPath.c_str(), "wb");
  std::fprintf(out, "P6\n%ld %ld\n255\n", width, height);
  for (std::size_t i = 0; i < f.rgbx.size(); i += 4) std::fwrite(&f.rgbx[i], 1, 3, out);
  std::fclose(out);
  return f;
}

void SetSize(benchmark::State& state, long bytes) {
  state.counters["bytes"] = double(bytes);
}

void Tavelo(benchmark::State& state, NSBitmapImageFileType type, bool write) {
  Frame const& f = FrameOf(state.range(0), state.range(1));
  NSBitmapImageRep rep(const_cast<unsigned char*>(f.rgbx.data()), f.width, f.height, 8, 3, false, 0, 32);
  QVariantMap props;
  if (type == NSJPEGFileType) props[NSImageCompressionFactor] = 0.75;
  if (type == NSPNGFileType) props[NSImageInterlaced] = false;
  QString const path = QString::fromStdString(WorkDir() + "/tavelo-out");
  long bytes = 0;
  for (auto _ : state) {
    QByteArray const data = rep.representationUsingType(type, props);
    if (data.isEmpty()) state.SkipWithError("encoder failed");
    if (write && !NSData_writeToFile(data, path, true)) state.SkipWithError("write failed");
    bytes = data.size();
    benchmark::DoNotOptimize(data.constData());
  }
  SetSize(state, bytes);
}

void QtWriter(benchmark::State& state, char const* format, int quality) {
  Frame const& f = FrameOf(state.range(0), state.range(1));
  QImage const image(f.rgbx.data(), int(f.width), int(f.height), int(f.width * 4), QImage::Format_RGBX8888);
  long bytes = 0;
  for (auto _ : state) {
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (quality >= 0) writer.setQuality(quality);
    if (!writer.write(image)) state.SkipWithError("Qt writer failed");
    bytes = out.size();
  }
  SetSize(state, bytes);
}

void PngWrite(png_structp png, png_bytep data, png_size_t length) {
  static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char const*>(data), length);
}
void PngFlush(png_structp) {}

// libpng with its own defaults (level 6, adaptive filters), for the choice of settings.
void LibpngDefaults(benchmark::State& state) {
  Frame const& f = FrameOf(state.range(0), state.range(1));
  long bytes = 0;
  for (auto _ : state) {
    std::string out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) std::abort();
    png_set_write_fn(png, &out, PngWrite, PngFlush);
    png_set_IHDR(png, info, png_uint_32(f.width), png_uint_32(f.height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    for (long y = 0; y < f.height; ++y)
      png_write_row(png, const_cast<unsigned char*>(&f.rgbx[std::size_t(y * f.width * 4)]));
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    bytes = long(out.size());
  }
  SetSize(state, bytes);
}

std::string Program(char const* name, std::vector<char const*> candidates) {
  for (char const* c : candidates)
    if (::access(c, X_OK) == 0) return c;
  return name;
}

// One run of an external tool on the frame's PPM file.
void Tool(benchmark::State& state, std::vector<std::string> args, std::string const& output) {
  Frame const& f = FrameOf(state.range(0), state.range(1));
  for (auto& a : args)
    if (a == "IN") a = f.ppmPath;
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  for (auto _ : state) {
    pid_t pid = 0;
    if (::posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) {
      state.SkipWithError("cannot start the tool");
      break;
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      state.SkipWithError("tool failed");
      break;
    }
  }
  struct stat st {};
  if (::stat(output.c_str(), &st) == 0) SetSize(state, long(st.st_size));
}

std::string const kCjpeg = Program("cjpeg", {"/usr/bin/cjpeg"});
std::string const kConvert = Program("convert", {"/usr/bin/convert-im6.q16", "/usr/bin/convert"});

void Cjpeg(benchmark::State& state) {
  std::string const out = WorkDir() + "/cjpeg.jpg";
  Tool(state, {kCjpeg, "-quality", "75", "-outfile", out, "IN"}, out);
}
void MagickJpeg(benchmark::State& state) {
  std::string const out = WorkDir() + "/magick.jpg";
  Tool(state, {kConvert, "IN", "-quality", "75", out}, out);
}
void MagickPng(benchmark::State& state) {
  std::string const out = WorkDir() + "/magick.png";
  Tool(state, {kConvert, "IN", out}, out);
}
void MagickTiff(benchmark::State& state) {
  std::string const out = WorkDir() + "/magick.tiff";
  Tool(state, {kConvert, "IN", "-compress", "none", out}, out);
}

void Sizes(benchmark::internal::Benchmark* b) {
  b->Args({720, 480})->Args({1920, 1080})->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
}

}  // namespace

BENCHMARK_CAPTURE(Tavelo, JPEG_encode, NSJPEGFileType, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Tavelo, JPEG_encode_and_write, NSJPEGFileType, true)->Apply(Sizes);
BENCHMARK_CAPTURE(QtWriter, JPEG_encode, "jpeg", 75)->Apply(Sizes);
BENCHMARK(Cjpeg)->Apply(Sizes);
BENCHMARK(MagickJpeg)->Apply(Sizes);
BENCHMARK_CAPTURE(Tavelo, PNG_encode, NSPNGFileType, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Tavelo, PNG_encode_and_write, NSPNGFileType, true)->Apply(Sizes);
BENCHMARK(LibpngDefaults)->Apply(Sizes);
BENCHMARK_CAPTURE(QtWriter, PNG_encode, "png", -1)->Apply(Sizes);
BENCHMARK(MagickPng)->Apply(Sizes);
BENCHMARK_CAPTURE(Tavelo, TIFF_encode, NSTIFFFileType, false)->Apply(Sizes);
BENCHMARK_CAPTURE(Tavelo, TIFF_encode_and_write, NSTIFFFileType, true)->Apply(Sizes);
BENCHMARK(MagickTiff)->Apply(Sizes);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::string const cleanup = "rm -rf '" + WorkDir() + "'";
  return std::system(cleanup.c_str()) == 0 ? 0 : 1;
}
