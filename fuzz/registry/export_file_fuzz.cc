// Fuzzes the registry export file's line splitter and line parser. Every
// line either parses or raises the library's Error; a binary value line
// written back and parsed again gives the same bytes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qorsupport/frame/error.h"
#include "registry/export_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  for (std::string_view line : qor::registry::SplitExportLines(text)) {
    qor::registry::ExportLine parsed;
    try {
      parsed = qor::registry::ParseExportLine(line);
    } catch (const qor::Error&) {
      continue;
    }
    if (parsed.type != qor::registry::kRegBinary) continue;
    std::string again = qor::registry::ValueLine(parsed.type, "v", parsed.data,
                                                 static_cast<uint32_t>(parsed.data.size()));
    if (qor::registry::ParseExportLine(again).data != parsed.data) std::abort();
  }
  return 0;
}
