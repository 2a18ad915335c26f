// libFuzzer target for the RTF reader. Any input must read, or be refused,
// without a crash, a hang or runaway memory; and whatever reads must survive
// the writer: the writer's RTF reads back to the same text.
//
// Run: QT_QPA_PLATFORM=offscreen rtf_fuzz -dict=fuzz/rtf/rtf.dict CORPUS fuzz/rtf/seeds

#include <QGuiApplication>
#include <QTextDocument>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "ui/qt/rtf/rtf_reader.h"
#include "ui/qt/rtf/rtf_writer.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static int app_argc = 1;
  static char* app_argv[] = {(*argv)[0], nullptr};
  (void)argc;
  new QGuiApplication(app_argc, app_argv);  // lives as long as the process: Qt's fonts need it
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  QTextDocument doc;
  if (!qor::rtf::ReadRtf(input, &doc)) return 0;
  std::string rtf = qor::rtf::WriteRtf(doc);
  QTextDocument copy;
  std::string error;
  if (!qor::rtf::ReadRtf(rtf, &copy, &error)) {
    std::fprintf(stderr, "the writer's RTF does not read: %s\n", error.c_str());
    std::abort();
  }
  if (copy.toRawText() != doc.toRawText()) {
    std::fprintf(stderr, "the text changed on the round trip:\n%s\n%s\n",
                 doc.toRawText().toStdString().c_str(), copy.toRawText().toStdString().c_str());
    std::abort();
  }
  return 0;
}
