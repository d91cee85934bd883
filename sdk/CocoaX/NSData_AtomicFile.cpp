#include "NSData_AtomicFile.h"

#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool WriteAll(int fd, char const* bytes, std::size_t size) {
  while (size > 0) {
    ssize_t const n = ::write(fd, bytes, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes += n;
    size -= std::size_t(n);
  }
  return true;
}

mode_t FileMode() {
  mode_t const mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool NSData_writeToFile(QByteArray const& data, QString const& path, bool atomically) {
  if (data.isNull() || path.isEmpty()) return false;
  std::string const target = QFile::encodeName(path).toStdString();
  if (!atomically) {
    int const fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool const ok = WriteAll(fd, data.constData(), std::size_t(data.size()));
    return (::close(fd) == 0) && ok;
  }
  std::size_t const slash = target.rfind('/');
  std::string const folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
  std::string const name = slash == std::string::npos ? target : target.substr(slash + 1);
  if (name.empty()) return false;
  // Hidden, and in the same folder so that the rename cannot cross file systems.
  std::string temp = (slash == std::string::npos ? std::string() : folder) + "." + name + ".XXXXXX";
  int const fd = ::mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) return false;
  bool ok = WriteAll(fd, data.constData(), std::size_t(data.size()));
  ok = ok && ::fchmod(fd, FileMode()) == 0;
  ok = ok && ::fsync(fd) == 0;
  ok = (::close(fd) == 0) && ok;
  ok = ok && ::rename(temp.c_str(), target.c_str()) == 0;
  if (!ok) ::unlink(temp.c_str());
  return ok;
}
