// Writing encoded data to a file. Atomically: a temporary file in the same folder, flushed
// to disk, then renamed over the final name; any failure leaves neither the final name
// (if it did not exist) nor the temporary behind, and an existing file stays as it was.
#pragma once

#include <QByteArray>
#include <QString>

bool NSData_writeToFile(QByteArray const& data, QString const& path, bool atomically);
