// The gallery: every dialog of the Qt backend, built from sample requests,
// shown (on whatever Qt platform is running, offscreen included) and saved
// as a PNG picture, so that the dialogs can be looked at without a desktop.

#ifndef QOR_UI_QT_GALLERY_H_
#define QOR_UI_QT_GALLERY_H_

#include <string>
#include <vector>

namespace qor::ui::qt {

struct GalleryShot {
  std::string name;                       // "msgbox-question", "menu", ...
  std::string file;                       // the PNG written
  std::vector<std::string> object_names;  // named widgets found, visible ones
  std::vector<std::string> texts;         // title, captions, labels, entries
  int width = 0;
  int height = 0;
};

// Renders every dialog into folder (created when missing) as <name>.png.
// Needs a QApplication; raises std::runtime_error when a file cannot be
// written.
std::vector<GalleryShot> RenderGallery(const std::string& folder);

}  // namespace qor::ui::qt

#endif  // QOR_UI_QT_GALLERY_H_
