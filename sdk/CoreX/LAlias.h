// Aliases: a stored record that finds its target again after it was moved or renamed.
// The alias object owns its handle; GetAliasHandle hands out a copy the caller disposes.
#pragma once

#include "Files.h"

#include <string>

class TCFString;

class LAliasBase {
 public:
  LAliasBase() = default;
  virtual ~LAliasBase();
  LAliasBase(LAliasBase const&) = delete;
  LAliasBase& operator=(LAliasBase const&) = delete;

  // Takes the handle over.
  bool Construct(AliasHandle inAlias);
  void Empty();
  bool IsEmpty() const { return mhAlias == nullptr; }
  AliasHandle GetAliasHandle() const;

  virtual bool IsResolved() const = 0;
  virtual bool Resolve() = 0;

  AliasHandle mhAlias = nullptr;
};

class LAliasRef : public LAliasBase {
 public:
  LAliasRef() = default;

  // A relative alias when fromFile is given, else a minimal one.
  bool Construct(FSRef const& inRef, FSRef const* fromFile);
  using LAliasBase::Construct;

  bool IsResolved() const override;
  bool Resolve() override;
  bool ResolveWasChanged(unsigned char& wasChanged);
  bool GetFileRef(FSRef& out_file_ref);
  bool GetUnixPath(std::string& s_out_unix_path);
  bool GetUnixPath(TCFString& s_out_unix_path);

  FSRef mRef{};
  bool mResolved = false;
};
