#include "ui/qt/gallery.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QStandardPaths>
#include <QTextEdit>
#include <functional>
#include <memory>
#include <stdexcept>

#include "ui/qt/qt_dialogs.h"
#include "ui/qt/rich_text_form.h"

namespace qor::ui::qt {

namespace {

struct Sample {
  const char* name;
  std::function<std::unique_ptr<QWidget>()> make;
};

MsgBoxRequest Box(const char* title, const char* text, int style) {
  MsgBoxRequest request;
  request.title = title;
  request.text = text;
  request.style = style;
  return request;
}

// A folder with a few files for the file dialogs to show.
QString SampleFolder() {
  QString folder = QDir::tempPath() + "/qor-gallery-sample";
  QDir().mkpath(folder + "/Archive");
  for (const char* name : {"March.txt", "April.txt", "Ledger.log"}) {
    QFile file(folder + "/" + name);
    if (!file.exists() && file.open(QIODevice::WriteOnly)) file.write("sample\n");
  }
  return folder;
}

std::vector<Sample> Samples() {
  std::vector<Sample> samples;
  auto box = [&](const char* name, MsgBoxRequest request) {
    samples.push_back({name, [request] { return std::make_unique<MsgBoxDialog>(request); }});
  };
  box("msgbox-question", Box("Payroll Message", "Post the March payroll?", 4 + 32 + 256));
  box("msgbox-yes-no-cancel", Box("Payroll Message", "Save the changes?", 3 + 32 + 256));
  box("msgbox-alert-retry", Box("Payroll Alert", "The ledger is locked.\nTry again?", 5 + 48));
  box("msgbox-critical", Box("Payroll Critical Alert", "The database is damaged.", 16));
  box("msgbox-error", Box("Error Message", "ERROR  53, DeleteFile()\nFile not found", 48));

  samples.push_back({"input", [] {
                       InputBoxRequest request{"Payroll", "Your name, please", "World"};
                       return std::make_unique<InputDialog>(request);
                     }});
  samples.push_back(
      {"list", [] {
         ListRequest request;
         request.title = "Choose a customer";
         request.items = {"Adams & Sons", "Baker Ltd", "Carter Inc", "Dobbs plc", "Evans GmbH"};
         auto dialog = std::make_unique<ListDialog>(request);
         dialog->list()->setCurrentRow(1);
         return dialog;
       }});
  samples.push_back({"list-multi-fixed", [] {
                       ListRequest request;
                       request.title = "Choose the accounts";
                       request.multi = true;
                       request.font_name = "Courier New";
                       request.width = 500;
                       request.height = 400;
                       request.items = {
                           "1000  Cash          1,250.00", "1100  Bank         12,400.50",
                           "1200  Receivables   3,310.75", "2000  Payables      -980.00"};
                       auto dialog = std::make_unique<ListDialog>(request);
                       dialog->list()->item(0)->setSelected(true);
                       dialog->list()->item(2)->setSelected(true);
                       return dialog;
                     }});
  samples.push_back({"calendar", [] {
                       CalendarRequest request{"  Due date", 37687};  // 2003-03-07
                       return std::make_unique<CalendarDialog>(request);
                     }});
  samples.push_back({"menu", [] {
                       MenuRequest request;
                       request.title = "  Ledger";
                       request.headings = {"Month-end", "March 2003"};
                       request.items[0] = "Post the ledger";
                       request.items[1] = "Print the trial balance";
                       request.items[4] = "Close the month";
                       request.items[10] = "Back up the books";
                       return std::make_unique<MenuDialog>(request);
                     }});
  samples.push_back(
      {"requester", [] {
         RequesterRequest request;
         request.title = "  Request Form  ";
         request.lines = {"The March payroll has not been posted.", "Post it now?", ""};
         request.yes = "Post now";
         request.no = "Later";
         request.message_font = "MS Sans Serif";
         request.button_font = "Arial";
         return std::make_unique<RequesterDialog>(request);
       }});
  samples.push_back({"file", [] {
                       FileDialogRequest request;
                       request.title = "Payroll File Open Requester";
                       const char filter[] =
                           "Text files (*.txt;*.log)\0*.txt;*.log\0All (*.*)\0*.*\0";
                       request.filter.assign(filter, sizeof(filter));
                       request.initial_dir = FromQ(SampleFolder());
                       request.flags = 0x1000;
                       return std::make_unique<FileDialog>(request);
                     }});
  samples.push_back({"richtext", [] {
                       RichTextRequest request;
                       request.title = "  RichText Edit Form";
                       request.text =
                           "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 DejaVu Sans;}{\\f1 DejaVu "
                           "Serif;}}{\\colortbl;\\red0\\green0\\blue255;\\red255\\green0\\blue0;}"
                           "\\pard\\qc\\f1\\fs32\\b Quarterly report\\par"
                           "\\pard\\plain\\fs24 Sales rose by {\\b 12%} in March; costs "
                           "stayed {\\i within budget}.\\par"
                           "\\pard\\fs24 {\\cf2 Overdue:} two invoices, from {\\ul Baker Ltd} "
                           "and {\\cf1 Carter Inc}.\\par"
                           "\\pard\\qr\\i\\fs20 Prepared by the accounts office\\par}";
                       request.open = request.save = request.print = true;
                       auto dialog = std::make_unique<RichTextDialog>(request);
                       QTextCursor cursor = dialog->editor()->textCursor();
                       cursor.setPosition(31);
                       cursor.setPosition(34, QTextCursor::KeepAnchor);
                       dialog->editor()->setTextCursor(cursor);
                       return dialog;
                     }});
  samples.push_back({"folder", [] {
                       FolderDialogRequest request{"Please Select a Folder"};
                       auto dialog = std::make_unique<FolderDialog>(request);
                       dialog->setDirectory(SampleFolder());
                       return dialog;
                     }});
  return samples;
}

// The window's picture under a plain title bar with its caption: offscreen
// windows have no frame of their own to show the title in.
QImage Framed(QWidget* window) {
  const QPixmap content = window->grab();
  const int bar = 26;
  QImage image(content.width() + 2, content.height() + bar + 1, QImage::Format_RGB32);
  image.fill(QColor(0x5a, 0x6e, 0x8c));
  QPainter painter(&image);
  painter.drawPixmap(1, bar, content);
  QFont font = window->font();
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(Qt::white);
  painter.drawText(QRect(8, 0, image.width() - 16, bar), Qt::AlignVCenter | Qt::AlignLeft,
                   window->windowTitle());
  return image;
}

void Collect(QWidget* window, GalleryShot* shot) {
  shot->texts.push_back(FromQ(window->windowTitle()));
  for (QWidget* child : window->findChildren<QWidget*>()) {
    if (!child->isVisibleTo(window)) continue;
    const QString name = child->objectName();
    if (!name.isEmpty() && !name.startsWith("qt_")) shot->object_names.push_back(FromQ(name));
    QString text;
    if (auto* label = qobject_cast<QLabel*>(child)) text = label->text();
    if (auto* button = qobject_cast<QAbstractButton*>(child)) text = button->text();
    if (auto* edit = qobject_cast<QLineEdit*>(child)) text = edit->text();
    if (auto* edit = qobject_cast<QTextEdit*>(child)) text = edit->toPlainText();
    if (auto* list = qobject_cast<QComboBox*>(child)) text = list->currentText();
    if (!text.isEmpty()) shot->texts.push_back(FromQ(text));
    if (auto* list = qobject_cast<QListWidget*>(child)) {
      for (int i = 0; i < list->count(); ++i) shot->texts.push_back(FromQ(list->item(i)->text()));
    }
  }
}

}  // namespace

std::vector<GalleryShot> RenderGallery(const std::string& folder) {
  QDir().mkpath(ToQ(folder));
  std::vector<GalleryShot> shots;
  for (const Sample& sample : Samples()) {
    std::unique_ptr<QWidget> window = sample.make();
    window->show();
    QApplication::processEvents();
    GalleryShot shot;
    shot.name = sample.name;
    shot.file = folder + "/" + sample.name + ".png";
    QImage picture = Framed(window.get());
    if (!picture.save(ToQ(shot.file), "PNG")) {
      throw std::runtime_error("cannot write " + shot.file);
    }
    shot.width = picture.width();
    shot.height = picture.height();
    Collect(window.get(), &shot);
    window->hide();
    shots.push_back(std::move(shot));
  }
  return shots;
}

}  // namespace qor::ui::qt
