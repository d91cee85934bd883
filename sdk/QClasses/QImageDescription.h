// An image description (the published header record and its typed extension atoms), owned or
// borrowed.
#pragma once

#include "ImageCompression.h"
#include "QRect.h"

constexpr long kInvalidTypeId = 0;

class QImageDescription {
 public:
  QImageDescription() = default;
  explicit QImageDescription(ImageDescription** hImageDescription);  // borrowed
  explicit QImageDescription(unsigned long effectType);
  explicit QImageDescription(PixMap** hPixMap);
  QImageDescription(QImageDescription const& other);
  QImageDescription& operator=(QImageDescription const& other);
  ~QImageDescription();

  bool Construct(ImageDescription** hImageDescription, bool takeOwnership);
  bool Construct(unsigned long effectType);
  // Also attaches 'rowb' when no row bytes can be read.
  bool Construct(PixMap** hPixMap);
  // Wraps a duplicate of the handle, not owned: the copy is never disposed by this object.
  bool ConstructCopy(ImageDescription** hImageDescription);
  void Destruct();
  bool IsEmpty() const { return mHandle == nullptr; }

  short Width() const;
  short Height() const;
  unsigned long GetPixelFormat() const;
  QClasses::QPoint Dimensions() const;
  bool GetBounds(Rect& outBounds) const;
  long DataSize() const;
  short BitDepth() const;
  void SetWidthHeight(Point const& size);
  void SetWidthHeight(short width, short height);

  OSErr AddImageDescriptionExtension(char** extension, long type);
  OSErr AddImageDescriptionExtension(void const* data, unsigned long size, long idType);
  OSErr AddImageDescriptionExtension_S32(SInt32 value, long type);
  OSErr AddImageDescriptionExtension_U32(UInt32 value, long type);
  template <class T>
  bool AddExtension(T const& data, long type) {
    return AddImageDescriptionExtension(&data, sizeof data, type) == noErr;
  }
  OSErr GetImageDescriptionExtension(char**& outExtension, long type, long index) const;
  OSErr GetImageDescriptionExtension(void* out, unsigned long in_data_size, long type, long index) const;
  bool GetFirstExtensionType(long& type) const;
  bool GetNextExtensionType(long& type) const;

  bool GetExtension_rowb(long& rowBytes, long index = 1) const;
  bool AddExtension_rowb(long rowBytes);
  bool GetExtension_gama(Fixed& gamma, long index) const;
  bool GetExtension_cspc(OSType& colorSpace, long index) const;
  // The typed payloads are copied as stored.
  bool GetExtension(FieldInfoImageDescriptionExtension2& out, long index) const;
  bool GetExtension(CleanApertureImageDescriptionExtension& out, long index) const;
  bool GetExtension(PixelAspectRatioImageDescriptionExtension& out, long index) const;
  bool GetExtension(NCLCColorInfoImageDescriptionExtension& out, long index) const;

  void CoreDebugPrint(char const* label, int verbosity) const;

  ImageDescriptionHandle mHandle = nullptr;
  bool mOwned = false;

 private:
  bool GetExtensionU32(UInt32& value, long type, long index) const;
};
