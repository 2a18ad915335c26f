// The string procedures of qorProcs: sorting, safe arithmetic, random text,
// character cleaning and padding.

#include <chrono>
#include <random>
#include <utility>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_format.h"
#include "qorsupport/frame/vb_functions.h"
#include "qorsupport/procs/procs.h"

namespace qor {

namespace {

// One partition step of the sort and the recursion over the smaller side;
// the larger side is sorted by the loop, so the depth stays logarithmic.
void SortRange(Array& array, bool descending, int32_t low, int32_t high) {
  auto before = [descending](const Variant& a, const Variant& b) {
    std::optional<int> c = vb::Compare(a, b);
    return c.has_value() && (descending ? *c > 0 : *c < 0);
  };
  while (low < high) {
    int32_t i = low, j = high;
    Variant pivot = array.At({static_cast<int32_t>((int64_t{low} + high) / 2)});
    while (i <= j) {
      while (before(array.At({i}), pivot) && i < high) ++i;
      while (before(pivot, array.At({j})) && j > low) --j;
      if (i <= j) {
        std::swap(array.At({i}), array.At({j}));
        ++i;
        --j;
      }
    }
    if (j - low < high - i) {
      if (low < j) SortRange(array, descending, low, j);
      low = i;
    } else {
      if (i < high) SortRange(array, descending, i, high);
      high = j;
    }
  }
}

std::mt19937& RandomGenerator() {
  thread_local std::mt19937 generator = [] {
    std::random_device device;
    auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    std::seed_seq seed{device(), device(), static_cast<unsigned>(now),
                       static_cast<unsigned>(now >> 32)};
    return std::mt19937(seed);
  }();
  return generator;
}

}  // namespace

void qorProcs::QuickSort(Variant& pArray, bool pDescending, int32_t pLow, int32_t pHigh) {
  if (!pArray.IsArray()) Raise(err::kTypeMismatch);
  Array& array = pArray.AsArray();
  if (array.Dimensions() != 1) Raise(err::kSubscript);
  const Array::Bounds& bounds = array.DimensionBounds(1);
  if (pLow == -1) pLow = bounds.lower;
  if (pHigh == -1) pHigh = bounds.upper;
  SortRange(array, pDescending, pLow, pHigh);
}

double qorProcs::CalcAvg(const Variant& pTotalAmount, const Variant& pNumberOfItems) {
  if (!vb::IsNumeric(pTotalAmount) || !vb::IsNumeric(pNumberOfItems)) return 0;
  double total = NumOrZero(pTotalAmount);
  double count = NumOrZero(pNumberOfItems);
  return count > 0 ? total / count : 0;
}

Variant qorProcs::DivideZero(const Variant& pDividend, const Variant& pDivisor) {
  if (IsBlank(pDividend, true) || IsBlank(pDivisor, true)) return Variant(int16_t{0});
  // VB's "/": a Single for two Bytes, Integers or Singles, else a Double; a
  // divisor that is zero in any other form (the text "0", 0.0) raises 11.
  return vb::Divide(pDividend, pDivisor);
}

std::string qorProcs::GetRandomString(int16_t pLength) {
  std::string out;
  std::uniform_int_distribution<int> letter(0, 25);
  for (int i = 0; i < pLength; ++i) out += static_cast<char>('A' + letter(RandomGenerator()));
  return out;
}

Variant qorProcs::RemoveAmpersand(const Variant& pText) { return RemoveChar(pText, "&"); }

Variant qorProcs::RemoveBlanks(const Variant& pText) { return RemoveChar(pText, " "); }

Variant qorProcs::RemovePunctuation(const std::string& pString) {
  if (IsBlank(Variant(pString), false)) return Variant::Null();
  std::u32string text = vb::ToUtf32(pString);
  for (char32_t& c : text) {
    bool kept = c == U' ' || (c >= U'0' && c <= U'9') || (c >= U'A' && c <= U'Z') ||
                (c >= U'a' && c <= U'z');
    if (!kept) c = U' ';
  }
  return Variant(vb::ToUtf8(text));
}

std::string qorProcs::PadString(const std::string& pString, int16_t /*pLength*/,
                                const std::string& /*pPadChr*/) {
  // The pad run's count is the length of pString less itself: nothing is
  // ever appended. Callers rely on getting their text back unchanged.
  return pString;
}

Variant qorProcs::PadNumber(const Variant& pNumber, const std::string& pFormat, int16_t pSize) {
  Variant formatted = vb::Format(pNumber, pFormat, 1, 1);
  std::string text = formatted.IsNull() ? std::string() : vb::Trim(formatted.AsString());
  int64_t length = vb::Len(text);
  if (length >= pSize) return Variant(text);
  return Variant(vb::Space(pSize - length) + text);
}

Variant qorProcs::LastName(const Variant& pFullName) {
  if (pFullName.IsNull()) return Variant::Null();
  std::string name = vb::Trim(vb::CStr(pFullName));
  if (name.empty()) return Variant::Null();
  size_t space = name.rfind(' ');
  return Variant(space == std::string::npos ? name : name.substr(space + 1));
}

}  // namespace qor
