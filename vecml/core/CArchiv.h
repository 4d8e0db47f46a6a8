// SPDX-License-Identifier: MIT
// Archive interface that clients implement to receive or supply the fields of
// an object through serialize2().
#ifndef VECML_CORE_CARCHIV_H
#define VECML_CORE_CARCHIV_H

#include <string>

#include "vecml/core/Export.h"
#include "vecml/core/Forward.h"

/// Abstract archive. The library only calls it; clients implement it.
///
/// Slots 3 to 18 write, slots 19 to 34 read, each read sixteen slots behind
/// its write twin. The library never calls the short, long, char,
/// unsigned char, unsigned short and CObject<int> overloads; they complete
/// the table for archives that want them.
class VECML_API CArchiv {
 public:
  virtual ~CArchiv();

  /// \return true while the archive is read (objects fill their fields from
  ///         it), false while it is written.
  virtual bool isLoading() = 0;

  /// Marks the end of one written entry.
  virtual void writeSeparator() = 0;
  virtual void write(float& value) = 0;
  virtual void write(double& value) = 0;
  virtual void write(unsigned int& value) = 0;
  virtual void write(int& value) = 0;
  virtual void write(short& value) = 0;
  /// Container sizes are written as 64-bit unsigned values.
  virtual void write(unsigned long& value) = 0;
  virtual void write(long& value) = 0;
  virtual void write(char& value) = 0;
  virtual void write(unsigned char& value) = 0;
  virtual void write(unsigned short& value) = 0;
  virtual void write(bool& value) = 0;
  virtual void write(std::string& value) = 0;
  virtual void write(CObject<int>& object) = 0;
  /// Writes a whole object.
  virtual void write(CObject<float>& object) = 0;
  virtual void write(CObject<double>& object) = 0;

  /// Read twin of writeSeparator().
  virtual void readSeparator() = 0;
  virtual void read(float& value) = 0;
  virtual void read(double& value) = 0;
  virtual void read(unsigned int& value) = 0;
  virtual void read(int& value) = 0;
  virtual void read(short& value) = 0;
  virtual void read(unsigned long& value) = 0;
  virtual void read(long& value) = 0;
  virtual void read(char& value) = 0;
  virtual void read(unsigned char& value) = 0;
  virtual void read(unsigned short& value) = 0;
  virtual void read(bool& value) = 0;
  virtual void read(std::string& value) = 0;
  virtual void read(CObject<int>& object) = 0;
  /// Fills an existing object.
  virtual void read(CObject<float>& object) = 0;
  virtual void read(CObject<double>& object) = 0;
};

#endif
