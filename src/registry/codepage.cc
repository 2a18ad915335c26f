#include "registry/codepage.h"

#include <iconv.h>

#include <cerrno>
#include <mutex>

#include "qorsupport/frame/vb.h"

namespace qor::registry {
namespace {

// One conversion descriptor per direction, shared under a lock.
class Converter {
 public:
  Converter(const char* to, const char* from) : cd_(iconv_open(to, from)) {}
  ~Converter() {
    if (cd_ != reinterpret_cast<iconv_t>(-1)) iconv_close(cd_);
  }

  // Converts one character's bytes; false when the code page lacks it.
  bool One(std::string_view in, std::string* out) {
    std::lock_guard<std::mutex> lock(mu_);
    if (cd_ == reinterpret_cast<iconv_t>(-1)) return false;
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char buffer[8];
    char* in_ptr = const_cast<char*>(in.data());
    size_t in_left = in.size();
    char* out_ptr = buffer;
    size_t out_left = sizeof buffer;
    if (iconv(cd_, &in_ptr, &in_left, &out_ptr, &out_left) == static_cast<size_t>(-1)) {
      return false;
    }
    out->append(buffer, out_ptr - buffer);
    return true;
  }

 private:
  std::mutex mu_;
  iconv_t cd_;
};

Converter& ToCp1252() {
  static Converter converter("WINDOWS-1252", "UTF-8");
  return converter;
}
Converter& FromCp1252() {
  static Converter converter("UTF-8", "WINDOWS-1252");
  return converter;
}

}  // namespace

std::string ToCodePage(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (char32_t c : vb::ToUtf32(utf8)) {
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    std::string one;
    vb::AppendUtf8(c, &one);
    // U+0081, U+008D, U+008F, U+0090, U+009D stand for the undefined bytes.
    if (c == 0x81 || c == 0x8D || c == 0x8F || c == 0x90 || c == 0x9D) {
      out.push_back(static_cast<char>(c));
    } else if (c == 0xFFFD || !ToCp1252().One(one, &out)) {
      out.push_back('?');
    }
  }
  return out;
}

std::string FromCodePage(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    unsigned char b = static_cast<unsigned char>(ch);
    if (b < 0x80) {
      out.push_back(ch);
    } else if (!FromCp1252().One(std::string_view(&ch, 1), &out)) {
      vb::AppendUtf8(b, &out);
    }
  }
  return out;
}

std::string FoldCase(std::string_view bytes) {
  std::string out(bytes);
  for (char& ch : out) {
    unsigned char b = static_cast<unsigned char>(ch);
    if (b >= 'a' && b <= 'z') {
      b -= 0x20;
    } else if (b >= 0xE0 && b <= 0xFE && b != 0xF7) {
      b -= 0x20;  // a-grave .. thorn
    } else if (b == 0x9A || b == 0x9C || b == 0x9E) {
      b -= 0x10;  // s-caron, oe, z-caron
    } else if (b == 0xFF) {
      b = 0x9F;  // y-diaeresis
    }
    ch = static_cast<char>(b);
  }
  return out;
}

}  // namespace qor::registry
