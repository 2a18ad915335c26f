#include "ui/qt/qt_dialogs.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QVBoxLayout>
#include <cmath>
#include <filesystem>

namespace qor::ui::qt {

namespace {

const QDate kDateZero(1899, 12, 30);

QPushButton* NewButton(const QString& name, const QString& caption, QWidget* parent) {
  auto* button = new QPushButton(caption, parent);
  button->setObjectName(name);
  return button;
}

}  // namespace

QHBoxLayout* OkCancelRow(QDialog* dialog, const QString& ok_caption) {
  auto* row = new QHBoxLayout;
  row->addStretch();
  QPushButton* ok = NewButton("cbOk", ok_caption, dialog);
  QPushButton* cancel = NewButton("cbCancel", "&Cancel", dialog);
  ok->setDefault(true);
  QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
  QObject::connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
  row->addWidget(ok);
  row->addWidget(cancel);
  return row;
}

namespace {

// A read-only text box that never takes the focus: it acts as a label.
QLineEdit* LabelBox(const QString& name, const QString& text, QWidget* parent) {
  auto* box = new QLineEdit(text, parent);
  box->setObjectName(name);
  box->setReadOnly(true);
  box->setFocusPolicy(Qt::NoFocus);
  return box;
}

QString Display(const std::string& text) {
  QString shown = ToQ(text);
  shown.replace("\r\n", "\n");
  return shown;
}

QMessageBox::StandardButton StandardButtonOf(int code) {
  switch (code) {
    case kIdCancel:
      return QMessageBox::Cancel;
    case kIdAbort:
      return QMessageBox::Abort;
    case kIdRetry:
      return QMessageBox::Retry;
    case kIdIgnore:
      return QMessageBox::Ignore;
    case kIdYes:
      return QMessageBox::Yes;
    case kIdNo:
      return QMessageBox::No;
    default:
      return QMessageBox::Ok;
  }
}

QMessageBox::Icon IconOf(int style) {
  switch (style & 0xF0) {
    case 16:
      return QMessageBox::Critical;
    case 32:
      return QMessageBox::Question;
    case 48:
      return QMessageBox::Warning;
    case 64:
      return QMessageBox::Information;
    default:
      return QMessageBox::NoIcon;
  }
}

}  // namespace

QString ToQ(const std::string& s) {
  return QString::fromUtf8(s.data(), static_cast<int>(s.size()));
}

std::string FromQ(const QString& s) { return s.toUtf8().toStdString(); }

QDate DateOfSerial(double serial) {
  return kDateZero.addDays(static_cast<qint64>(std::floor(serial)));
}

double SerialOfDate(const QDate& date) { return static_cast<double>(kDateZero.daysTo(date)); }

QString ButtonName(int code) {
  switch (code) {
    case kIdCancel:
      return "cbCancel";
    case kIdAbort:
      return "cbAbort";
    case kIdRetry:
      return "cbRetry";
    case kIdIgnore:
      return "cbIgnore";
    case kIdYes:
      return "cbYes";
    case kIdNo:
      return "cbNo";
    default:
      return "cbOk";
  }
}

// ---- Message box -------------------------------------------------------------

MsgBoxDialog::MsgBoxDialog(const MsgBoxRequest& request, QWidget* parent)
    : QMessageBox(parent), close_answer_(MsgBoxCloseAnswer(request.style)) {
  setObjectName("qorMsgBox");
  setWindowTitle(ToQ(request.title));
  setText(Display(request.text));
  setTextFormat(Qt::PlainText);
  setIcon(IconOf(request.style));
  const int default_answer = MsgBoxDefaultAnswer(request.style);
  for (int code : MsgBoxButtons(request.style)) {
    QPushButton* button = addButton(StandardButtonOf(code));
    button->setObjectName(ButtonName(code));
    if (code == default_answer) setDefaultButton(button);
    if (close_answer_ == code) setEscapeButton(button);
  }
}

int MsgBoxDialog::answer() const {
  for (int code : {kIdOk, kIdCancel, kIdAbort, kIdRetry, kIdIgnore, kIdYes, kIdNo}) {
    if (clickedButton() && clickedButton() == button(StandardButtonOf(code))) return code;
  }
  return close_answer_.value_or(kIdCancel);
}

void MsgBoxDialog::keyPressEvent(QKeyEvent* event) {
  if (!close_answer_ && event->matches(QKeySequence::Cancel)) {
    event->accept();  // a box without Cancel or a lone OK cannot be escaped
    return;
  }
  QMessageBox::keyPressEvent(event);
}

void MsgBoxDialog::closeEvent(QCloseEvent* event) {
  if (!close_answer_) {
    event->ignore();
    return;
  }
  QMessageBox::closeEvent(event);
}

// ---- Input box ---------------------------------------------------------------

InputDialog::InputDialog(const InputBoxRequest& request, QWidget* parent) : QDialog(parent) {
  setObjectName("qorInputBox");
  setWindowTitle(ToQ(request.title));
  auto* layout = new QVBoxLayout(this);
  auto* prompt = new QLabel(Display(request.prompt), this);
  prompt->setObjectName("lblPrompt");
  prompt->setTextFormat(Qt::PlainText);
  edit_ = new QLineEdit(ToQ(request.default_text), this);
  edit_->setObjectName("txtAnswer");
  edit_->selectAll();
  layout->addWidget(prompt);
  layout->addWidget(edit_);
  layout->addLayout(OkCancelRow(this));
  setMinimumWidth(360);
}

std::optional<std::string> InputDialog::answer() const {
  if (result() != QDialog::Accepted) return std::nullopt;
  return FromQ(edit_->text());
}

// ---- List form ---------------------------------------------------------------

ListDialog::ListDialog(const ListRequest& request, QWidget* parent) : QDialog(parent) {
  setObjectName("qorListForm");
  setWindowTitle(ToQ(request.title));
  auto* layout = new QVBoxLayout(this);
  list_ = new QListWidget(this);
  list_->setObjectName("List1");
  list_->setUniformItemSizes(true);
  list_->setSelectionMode(request.multi ? QAbstractItemView::MultiSelection
                                        : QAbstractItemView::SingleSelection);
  QStringList texts;
  texts.reserve(static_cast<qsizetype>(request.items.size()));
  for (const std::string& item : request.items) texts.push_back(ToQ(item));
  list_->addItems(texts);
  if (!request.font_name.empty()) {
    QFont font(ToQ(request.font_name));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    list_->setFont(font);
  }
  layout->addWidget(list_);
  QHBoxLayout* row = OkCancelRow(this);
  QPushButton* print = NewButton("cbPrint", "&Print", this);
  print->hide();
  row->insertWidget(0, print);
  layout->addLayout(row);
  if (!request.multi) {
    connect(list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(list_, &QListWidget::itemActivated, this, &QDialog::accept);
  }
  resize(request.width, request.height);
  list_->setFocus();
}

ListAnswer ListDialog::answer() const {
  if (result() != QDialog::Accepted) return std::nullopt;
  std::vector<int> rows;
  for (const QModelIndex& index : list_->selectionModel()->selectedRows()) {
    rows.push_back(index.row());
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

// ---- Calendar form -----------------------------------------------------------

CalendarDialog::CalendarDialog(const CalendarRequest& request, QWidget* parent) : QDialog(parent) {
  setObjectName("qorCalendarForm");
  setWindowTitle(ToQ(request.title));
  auto* layout = new QVBoxLayout(this);
  calendar_ = new QCalendarWidget(this);
  calendar_->setObjectName("cal01");
  calendar_->setMinimumDate(QDate(100, 1, 1));
  calendar_->setMaximumDate(QDate(9999, 12, 31));
  calendar_->setSelectedDate(DateOfSerial(request.initial));
  connect(calendar_, &QCalendarWidget::activated, this, &QDialog::accept);
  layout->addWidget(calendar_);
  layout->addLayout(OkCancelRow(this));
}

std::optional<double> CalendarDialog::answer() const {
  if (result() != QDialog::Accepted) return std::nullopt;
  return SerialOfDate(calendar_->selectedDate());
}

// ---- Menu form ---------------------------------------------------------------

MenuDialog::MenuDialog(const MenuRequest& request, QWidget* parent)
    : QDialog(parent), keys_(request.keys) {
  setObjectName("qorMenuForm");
  setWindowTitle(ToQ(request.title));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(LabelBox("tHeading1", ToQ(request.headings[0]), this));
  QLineEdit* heading2 = LabelBox("tHeading2", ToQ(request.headings[1]), this);
  heading2->setVisible(!request.headings[1].empty());
  layout->addWidget(heading2);
  auto* grid = new QGridLayout;
  static const char kKeys[] = "123456789ABCD";
  QPushButton* first = nullptr;
  for (int i = 0; i < 13; ++i) {
    const QString number = QString::asprintf("%02d", i + 1);
    QPushButton* button = NewButton("cb" + number, QString(QChar(kKeys[i])), this);
    button->setAutoDefault(false);
    button->setFixedWidth(40);
    QLineEdit* text = LabelBox("t" + number, ToQ(request.items[i]), this);
    const bool shown = !request.items[i].empty();
    button->setVisible(shown);
    text->setVisible(shown);
    if (shown && !first) first = button;
    connect(button, &QPushButton::clicked, this, [this, i] { Choose(i + 1); });
    grid->addWidget(button, i, 0);
    grid->addWidget(text, i, 1);
  }
  layout->addLayout(grid);
  auto* row = new QHBoxLayout;
  row->addStretch();
  QPushButton* cancel = NewButton("cbCancel", "Cancel (&N)", this);
  connect(cancel, &QPushButton::clicked, this, [this] { Choose(0); });
  row->addWidget(cancel);
  layout->addLayout(row);
  setMinimumWidth(360);
  (first ? first : cancel)->setFocus();
}

void MenuDialog::Choose(int choice) {
  choice_ = choice;
  accept();
}

void MenuDialog::keyPressEvent(QKeyEvent* event) {
  const QString text = event->text();
  if (text.size() == 1) {
    auto key = keys_.find(text.at(0).unicode());
    if (key != keys_.end()) {
      Choose(key->second);
      return;
    }
  }
  QDialog::keyPressEvent(event);  // Escape rejects: the choice stays 0
}

// ---- Requester form ------------------------------------------------------------

RequesterDialog::RequesterDialog(const RequesterRequest& request, QWidget* parent)
    : QDialog(parent) {
  setObjectName("qorRequesterForm");
  setWindowTitle(ToQ(request.title));
  QFont message_font(ToQ(request.message_font), request.message_font_size);
  QFont button_font(ToQ(request.button_font), request.button_font_size);
  auto* layout = new QVBoxLayout(this);
  for (int i = 0; i < 3; ++i) {
    auto* line = new QLabel(ToQ(request.lines[i]), this);
    line->setObjectName(QString("lblMsg%1").arg(i + 1));
    line->setTextFormat(Qt::PlainText);
    line->setFont(message_font);
    layout->addWidget(line);
  }
  auto* row = new QHBoxLayout;
  row->addStretch();
  // The buttons are made at run time from the captions given.
  QPushButton* yes = NewButton("cbYes", ToQ(request.yes), this);
  yes->setFont(button_font);
  yes->setDefault(true);
  connect(yes, &QPushButton::clicked, this, [this] {
    answer_ = kIdYes;
    accept();
  });
  row->addWidget(yes);
  if (!request.no.empty()) {
    QPushButton* no = NewButton("cbNo", ToQ(request.no), this);
    no->setFont(button_font);
    connect(no, &QPushButton::clicked, this, [this] {
      answer_ = kIdNo;
      accept();
    });
    row->addWidget(no);
  }
  row->addStretch();
  layout->addSpacing(8);
  layout->addLayout(row);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}

// ---- File and folder dialogs -------------------------------------------------

QStringList QtNameFilters(const std::string& filter) {
  QStringList parts = ToQ(filter).split(QChar(0));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString name = parts[i];
    const QString& patterns = parts[i + 1];
    if (name.isEmpty()) break;
    const QString suffix = " (" + patterns + ")";
    if (name.endsWith(suffix)) name.chop(suffix.size());
    QStringList each;
    for (const QString& p : patterns.split(';')) {
      if (!p.trimmed().isEmpty()) each.push_back(p.trimmed());
    }
    filters.push_back(name + " (" + each.join(' ') + ")");
  }
  return filters;
}

QString ExistingFolder(const std::string& folder) {
  if (folder.empty()) return QString();
  std::error_code ec;
  std::filesystem::path path = std::filesystem::absolute(folder, ec);
  if (ec) return QString();
  // A missing folder is no error here: climb to the nearest one that exists.
  while (!std::filesystem::is_directory(path, ec)) {
    if (!path.has_parent_path() || path.parent_path() == path) return QString();
    path = path.parent_path();
  }
  return ToQ(path.string());
}

FileDialog::FileDialog(const FileDialogRequest& request, QWidget* parent) : QFileDialog(parent) {
  setObjectName("qorFileDialog");
  setOption(QFileDialog::DontUseNativeDialog);
  setWindowTitle(ToQ(request.title));
  QStringList filters = QtNameFilters(request.filter);
  if (!filters.isEmpty()) setNameFilters(filters);
  QString dir = ExistingFolder(request.initial_dir);
  if (!dir.isEmpty()) setDirectory(dir);
  setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  setFileMode((request.flags & 0x1000) ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  if (!request.default_name.empty()) selectFile(ToQ(request.default_name));
}

std::optional<std::string> FileDialog::answer() const {
  if (result() != QDialog::Accepted || selectedFiles().isEmpty()) return std::nullopt;
  return FromQ(selectedFiles().front());
}

FolderDialog::FolderDialog(const FolderDialogRequest& request, QWidget* parent)
    : QFileDialog(parent) {
  setObjectName("qorFolderDialog");
  setOption(QFileDialog::DontUseNativeDialog);
  setOption(QFileDialog::ShowDirsOnly);
  setFileMode(QFileDialog::Directory);
  setWindowTitle(ToQ(request.title));
}

std::optional<std::string> FolderDialog::answer() const {
  if (result() != QDialog::Accepted || selectedFiles().isEmpty()) return std::nullopt;
  return FromQ(selectedFiles().front());
}

}  // namespace qor::ui::qt
