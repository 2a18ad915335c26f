// qor-gallery: renders every dialog of the Qt backend to PNG files.
//
// usage: qor-gallery [FOLDER]   (default: docs/gallery)
//
// Runs on Qt's offscreen platform unless QT_QPA_PLATFORM says otherwise, so
// it needs no desktop. Prints one line per picture: name, size and file.

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "ui/qt/gallery.h"

int main(int argc, char** argv) {
  if (argc > 2 ||
      (argc == 2 && (std::string(argv[1]) == "-h" || std::string(argv[1]) == "--help"))) {
    std::fprintf(stderr, "usage: qor-gallery [FOLDER]\n");
    return 2;
  }
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication app(argc, argv);
  const std::string folder = argc == 2 ? argv[1] : "docs/gallery";
  try {
    for (const auto& shot : qor::ui::qt::RenderGallery(folder)) {
      std::printf("%-22s %4dx%-4d %s\n", shot.name.c_str(), shot.width, shot.height,
                  shot.file.c_str());
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qor-gallery: %s\n", e.what());
    return 1;
  }
  return 0;
}
