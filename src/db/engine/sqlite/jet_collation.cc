#include "db/engine/sqlite/jet_collation.h"

#include <unicode/ucol.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "db/engine/sqlite/sqlite_functions.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao::sqlite {

namespace {

class Collator {
 public:
  Collator() {
    UErrorCode status = U_ZERO_ERROR;
    collator_ = ucol_open("", &status);
    if (U_FAILURE(status)) {
      collator_ = nullptr;
      return;
    }
    ucol_setStrength(collator_, UCOL_SECONDARY);
    BuildAsciiTable();
  }

  int Compare(std::string_view a, std::string_view b) const {
    if (ascii_ok_ && IsAscii(a) && IsAscii(b)) return CompareAscii(a, b);
    if (!collator_) return vb::LCase(a).compare(vb::LCase(b));
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult r = ucol_strcollUTF8(collator_, a.data(), static_cast<int32_t>(a.size()),
                                          b.data(), static_cast<int32_t>(b.size()), &status);
    if (U_FAILURE(status)) return a.compare(b);
    return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
  }

  int IcuCompare(std::string_view a, std::string_view b) const {
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult r = ucol_strcollUTF8(collator_, a.data(), static_cast<int32_t>(a.size()),
                                          b.data(), static_cast<int32_t>(b.size()), &status);
    return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
  }

 private:
  static bool IsAscii(std::string_view s) {
    for (unsigned char c : s) {
      if (c >= 0x80) return false;
    }
    return true;
  }

  // Compares by the characters' primary ranks, leaving out the ignorable
  // ones (rank 0).
  int CompareAscii(std::string_view a, std::string_view b) const {
    size_t i = 0, j = 0;
    while (true) {
      while (i < a.size() && rank_[static_cast<unsigned char>(a[i])] == 0) ++i;
      while (j < b.size() && rank_[static_cast<unsigned char>(b[j])] == 0) ++j;
      if (i == a.size() || j == b.size()) {
        return i == a.size() ? (j == b.size() ? 0 : -1) : 1;
      }
      int x = rank_[static_cast<unsigned char>(a[i])], y = rank_[static_cast<unsigned char>(b[j])];
      if (x != y) return x < y ? -1 : 1;
      ++i;
      ++j;
    }
  }

  void BuildAsciiTable() {
    // Each character's primary sort key; equal keys share a rank.
    UErrorCode status = U_ZERO_ERROR;
    UCollator* primary = ucol_clone(collator_, &status);
    if (U_FAILURE(status) || !primary) return;
    ucol_setStrength(primary, UCOL_PRIMARY);
    std::array<std::string, 128> keys;
    for (int c = 0; c < 128; ++c) {
      UChar ch = static_cast<UChar>(c);
      uint8_t buf[64];
      int32_t n = ucol_getSortKey(primary, &ch, 1, buf, sizeof buf);
      if (n <= 0 || n > static_cast<int32_t>(sizeof buf)) {
        ucol_close(primary);
        return;
      }
      keys[static_cast<size_t>(c)] =
          std::string(reinterpret_cast<char*>(buf), static_cast<size_t>(n));
    }
    ucol_close(primary);
    std::vector<std::string> distinct(keys.begin(), keys.end());
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    for (int c = 0; c < 128; ++c) {
      const std::string& k = keys[static_cast<size_t>(c)];
      // A key of only the terminator: the character is ignorable.
      bool ignorable = k.size() <= 1;
      rank_[static_cast<size_t>(c)] =
          ignorable ? 0
                    : static_cast<uint16_t>(std::lower_bound(distinct.begin(), distinct.end(), k) -
                                            distinct.begin() + 1);
    }
    // The table must order as ICU does; check it on every pair of printable
    // characters and on texts made of them.
    ascii_ok_ = true;
    std::vector<std::string> samples;
    for (int c = 0; c < 128; ++c) samples.emplace_back(1, static_cast<char>(c));
    for (const char* s : {"ab", "a-b", "a b", "ab-", "co-op", "coop", "a1", "a10", "a2", "A_b",
                          "a_B", "", "x", "x ", " x", "a'b", "ab'", "a\tb"}) {
      samples.emplace_back(s);
    }
    for (const std::string& x : samples) {
      for (const std::string& y : samples) {
        int fast = CompareAscii(x, y);
        int slow = IcuCompare(x, y);
        if ((fast < 0) != (slow < 0) || (fast > 0) != (slow > 0)) {
          ascii_ok_ = false;
          return;
        }
      }
    }
  }

  UCollator* collator_ = nullptr;
  std::array<uint16_t, 128> rank_{};
  bool ascii_ok_ = false;
};

const Collator& TheCollator() {
  static const Collator* collator = new Collator();
  return *collator;
}

int CollationCallback(void*, int na, const void* a, int nb, const void* b) {
  return JetCompare(std::string_view(static_cast<const char*>(a), static_cast<size_t>(na)),
                    std::string_view(static_cast<const char*>(b), static_cast<size_t>(nb)));
}

int TextOrder(std::string_view a, std::string_view b) { return JetCompare(a, b); }

int AutoExtension(sqlite3* db, char**, const sqlite3_api_routines*) {
  RegisterFunctions(db);
  return SQLITE_OK;
}

// The engine's order is the VB runtime's from the time the library loads.
const bool kInstalled = (InstallJetCollation(), true);

}  // namespace

int JetCompare(std::string_view a, std::string_view b) { return TheCollator().Compare(a, b); }

void RegisterCollation(sqlite3* db) {
  sqlite3_create_collation_v2(db, kJetCollation, SQLITE_UTF8, nullptr, &CollationCallback, nullptr);
}

void InstallJetCollation() {
  static std::once_flag once;
  std::call_once(once, [] {
    (void)kInstalled;
    vb::SetTextCollation(&TextOrder);
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(&AutoExtension));
  });
}

}  // namespace qor::dao::sqlite
