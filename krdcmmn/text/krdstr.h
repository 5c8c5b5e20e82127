// KRDSTR: the library's string of single-byte characters.
//
// A zero-terminated text in a heap block of its own, with value semantics. The length is not
// stored: the text ends at the first zero byte. Its bytes have no code page here.
//
// Memory is the only failure: EXCEPTION 1, thrown as a pointer. The block is given back then, and
// the string reads as empty, can be used again and can be destroyed. Texts of 1.7 GB and more count
// as memory that is not there; they are refused before anything has changed.
//
// A source may be the string itself or point into its text, in every operation; null reads as the
// empty text. Pointers from c_str, GetBuffer and GetFileName are good until the next assignment,
// +=, empty, sprintf, vsprintf, LoadStringA, or GetBuffer with more room.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "krdcmmn/platform/export.h"
#include "krdcmmn/platform/types.h"

namespace KRD {

class KRDCMMN_API KRDSTR {
 public:
  KRDSTR();
  KRDSTR(const KRDSTR& s);
  // `c`, `n` times; empty for `n` below 1.
  KRDSTR(char c, int n);
  KRDSTR(const char* s);
  ~KRDSTR();

  // An empty source gives the block back (capacity 1); a source that fits keeps it.
  const KRDSTR& operator=(const KRDSTR& s);
  const KRDSTR& operator=(const char* s);
  const KRDSTR& operator=(char c);

  const KRDSTR& operator+=(const KRDSTR& s);
  const KRDSTR& operator+=(const char* s);
  const KRDSTR& operator+=(char c);

  // Bytes as unsigned numbers; of two texts with one start the shorter is the smaller.
  bool operator==(const KRDSTR& s) const;
  bool operator==(const char* s) const;
  bool operator!=(const KRDSTR& s) const;
  bool operator!=(const char* s) const;
  bool operator<(const KRDSTR& s) const;
  bool operator>(const KRDSTR& s) const;
  // -1, 0 or 1 in that order.
  int Compare(const char* s) const;
  // Negative, 0 or positive; A to Z and a to z are one.
  int CompareNoCase(const char* s) const;

  // Position `i` of the block, which may lie behind the text; outside the block it reads as 0.
  char operator[](int i) const;
  // The length does not follow: a zero ends the text, and a byte written behind the text joins what
  // the block holds there. Outside the block, and at its last byte, nothing happens.
  void SetAt(int i, char c);

  const char* c_str() const { return buf; }
  // The length in bytes, without the terminator.
  int size() const;
  int strlen() const;
  bool IsEmpty() const;
  // Makes the string empty.
  void empty();

  // Position of the first or last `c`, or -1. A zero byte is found at the end of the text.
  int Find(char c) const;
  int ReverseFind(char c) const;

  // `n` bytes from the start, up to the end, or from `first` on. What lies outside the text is left
  // out; a negative `n` counts as 0.
  KRDSTR Left(int n) const;
  KRDSTR Right(int n) const;
  KRDSTR Mid(int first, int n) const;

  // Cuts out at most `count` bytes at `index`. Nothing happens for a position outside the text or
  // for `count` below 1.
  void Delete(int index, int count);
  // Changes every `from` of the text to `to`.
  void Replace(char from, char to);
  // The part behind the last slash or backslash; null for an empty string.
  const char* GetFileName() const;

  // Writable room for at least `n` characters and a terminator; the text stays.
  char* GetBuffer(int n);
  // Ends the text at `n`, or where the block ends; below 0, at the first zero byte of the block.
  void ReleaseBuffer(int n);

  // The text of string resource `id`; a null `module` is the main program. Empty when there is no
  // such resource.
  void LoadStringA(unsigned int id, HINSTANCE module);

  // Replaces the text with formatted output. The host's printf decides every conversion, and the
  // prefix I64 stands for a 64-bit integer beside it. %n is served. The block is sized by an
  // estimate made from the format and the arguments, and grows to the output where that falls
  // short (capacity: the output's length and a quarter). A string argument ends with a zero byte
  // even where a precision would stop before. Where the host refuses a format the text is what it
  // wrote until then.
  void sprintf(const char* format, ...);
  // The format is a string resource; nothing happens when there is none.
  void sprintf(HINSTANCE module, unsigned int id, ...);
  void vsprintf(const char* format, va_list args);

 protected:
  // An empty string in a new block of two bytes.
  void Init();
  // Makes the capacity `n` and a quarter more, also downward; what fits of the text stays. A
  // negative `n` counts as 0.
  void AllocateBuffer(int n);
  // Appends `n` bytes; nothing for `n` below 1. Grows when the new length reaches the capacity.
  void ConcatInPlace(const char* s, int n);
  // Replaces the text with `na` bytes of `a` and `nb` of `b` behind them; nothing when there are
  // none. A negative count, or a null source, counts as 0 bytes.
  void ConcatCopy(const char* a, int na, const char* b, int nb);

  char* buf;  // the text, on the heap: cap + 1 bytes, the last of them 0; null after a failure
  int cap;    // the characters that fit

 private:
  bool IsNull() const { return buf == nullptr || cap < 1; }
  bool Holds(const char* s) const;
  int Room() const { return buf != nullptr ? cap : -1; }
  void Adopt(char* block, int new_cap);
  void Print(const char* format, va_list args, std::int64_t estimate, bool apart);
  [[noreturn]] void OutOfMemory(int new_cap);
};

}  // namespace KRD
