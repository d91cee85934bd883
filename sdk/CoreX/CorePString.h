// A length-prefixed text of at most 255 bytes, kept zero-terminated whenever there is room.
#pragma once

class CorePString {
 public:
  CorePString();
  explicit CorePString(char const* text);
  explicit CorePString(unsigned char const* pascal);
  CorePString(CorePString const& other);

  CorePString& operator=(char const* text);
  CorePString& operator=(unsigned char const* pascal);
  CorePString& operator=(CorePString const& other);

  // Appends a Pascal text; the 8-bit length wraps on overflow (a sum of 256 is logged).
  void strcat(unsigned char const* pascal);
  void strcatc(char c);

  unsigned char strlen() const { return mPString[0]; }
  unsigned short string_size() const { return static_cast<unsigned short>(mPString[0] + 1); }
  unsigned char const* Get() const { return mPString; }
  // The characters; zero-terminated unless the text fills all 255 bytes.
  char const* c_str() const { return reinterpret_cast<char const*>(mPString + 1); }

  // Copy out as Pascal text into a buffer of max bytes (length byte included).
  void strcpy(unsigned char* out, unsigned short max) const;
  void AssignTo(unsigned char* out, unsigned short max) const;
  // Copy out as zero-terminated text; out must hold strlen() + 1 bytes.
  void AssignTo(char* out) const;

  bool operator==(char const* text) const;
  bool operator==(unsigned char const* pascal) const;

  unsigned char mPString[256];

 private:
  void Terminate();
};
