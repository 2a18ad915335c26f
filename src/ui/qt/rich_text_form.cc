#include "ui/qt/rich_text_form.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPixmap>
#include <QTextBlock>
#include <QTextFragment>
#include <QTextLayout>
#include <QVBoxLayout>
#include <algorithm>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "ui/qt/qt_dialogs.h"
#include "ui/qt/rtf/document_io.h"

namespace qor::ui::qt {

namespace {

constexpr double kDefaultFontSize = 12;  // RTF's own default size
constexpr double kMaxFontSize = 1638;    // the largest size RTF can carry

struct Justification {
  const char* key;
  Qt::Alignment alignment;
};
constexpr std::array<Justification, 3> kJustifications = {
    {{"JustLeft", Qt::AlignLeft}, {"JustRight", Qt::AlignRight}, {"JustCentre", Qt::AlignHCenter}}};

int32_t ColourValue(const QColor& colour) {
  return colour.red() | colour.green() << 8 | colour.blue() << 16;
}

QColor ColourOfValue(int32_t value) {
  return QColor(value & 0xff, (value >> 8) & 0xff, (value >> 16) & 0xff);
}

// Left, right, centred or justified; a block without an alignment of its
// own is left-aligned.
Qt::Alignment HorizontalAlignment(Qt::Alignment alignment) {
  alignment &= Qt::AlignLeft | Qt::AlignRight | Qt::AlignHCenter | Qt::AlignJustify;
  return alignment ? alignment : Qt::AlignLeft;
}

// The attributes the toolbar shows of one run of characters, with what the
// run leaves unset taken from the document's default font.
struct CharAttributes {
  QString font_name;
  double font_size = 0;
  int32_t colour = 0;
  bool bold = false;
  bool italic = false;
  bool underline = false;
};

CharAttributes Resolve(const QTextCharFormat& format, const QFont& base) {
  CharAttributes a;
  const QStringList families = format.fontFamilies().toStringList();
  a.font_name = families.isEmpty() ? base.family() : families.first();
  a.font_size = format.fontPointSize() > 0 ? format.fontPointSize() : base.pointSizeF();
  if (format.hasProperty(QTextFormat::ForegroundBrush) &&
      format.foreground().style() != Qt::NoBrush) {
    a.colour = ColourValue(format.foreground().color());
  }
  a.bold = format.fontWeight() >= QFont::DemiBold;
  a.italic = format.fontItalic();
  a.underline = format.fontUnderline();
  return a;
}

// The value all runs share, nullopt once two differ.
template <typename T>
void Meet(std::optional<T>* common, const T& value) {
  if (common->has_value() && **common != value) common->reset();
}

// The attributes of a selection: each value is nullopt where the selection
// mixes several; a style counts only when every character has it.
struct SelectionAttributes {
  std::optional<QString> font_name;
  std::optional<double> font_size;
  std::optional<int32_t> colour;
  bool bold = false;
  bool italic = false;
  bool underline = false;
  std::optional<Qt::Alignment> alignment;

  void AddRun(const CharAttributes& run) {
    if (runs_++ == 0) {
      font_name = run.font_name;
      font_size = run.font_size;
      colour = run.colour;
      bold = run.bold;
      italic = run.italic;
      underline = run.underline;
      return;
    }
    Meet(&font_name, run.font_name);
    Meet(&font_size, run.font_size);
    Meet(&colour, run.colour);
    bold = bold && run.bold;
    italic = italic && run.italic;
    underline = underline && run.underline;
  }

  // Whether more runs can change nothing: every value is mixed already.
  bool RunsSettled() const {
    return runs_ > 1 && !font_name && !font_size && !colour && !bold && !italic && !underline;
  }

  void AddParagraph(Qt::Alignment paragraph) {
    if (paragraphs_++ == 0) {
      alignment = paragraph;
    } else {
      Meet(&alignment, paragraph);
    }
  }

 private:
  int runs_ = 0;
  int paragraphs_ = 0;
};

// The selection's attributes; with no selection, those of the text typed
// next at the caret.
SelectionAttributes AttributesOf(const QTextEdit& editor) {
  SelectionAttributes result;
  const QTextCursor cursor = editor.textCursor();
  const QTextDocument& doc = *editor.document();
  const QFont base = doc.defaultFont();
  const int start = cursor.selectionStart();
  const int end = cursor.selectionEnd();
  if (start == end) result.AddRun(Resolve(editor.currentCharFormat(), base));
  for (QTextBlock block = doc.findBlock(start); block.isValid() && block.position() <= end;
       block = block.next()) {
    result.AddParagraph(HorizontalAlignment(block.blockFormat().alignment()));
    if (start == end || result.RunsSettled()) continue;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextFragment fragment = it.fragment();
      if (fragment.position() < end && fragment.position() + fragment.length() > start) {
        result.AddRun(Resolve(fragment.charFormat(), base));
      }
    }
  }
  return result;
}

// Shows a value in a list: its entry when listed, else as typed text.
void ShowValue(QComboBox* list, const QString& value) {
  const int index = list->findText(value);
  if (index >= 0) {
    list->setCurrentIndex(index);
  } else if (list->isEditable()) {
    list->setEditText(value);
  }
}

QIcon Swatch(int32_t value) {
  QPixmap pixmap(12, 12);
  pixmap.fill(ColourOfValue(value));
  return QIcon(pixmap);
}

}  // namespace

QString CaretStatus(const QTextCursor& cursor) {
  const QTextBlock block = cursor.block();
  const int in_block = cursor.positionInBlock();
  int line = block.blockNumber();
  int column = in_block;
  // Count lines as shown once the block is laid out (wrapped lines and line
  // breaks each start a line), paragraphs until then.
  if (const QTextLayout* layout = block.layout(); layout != nullptr && layout->lineCount() > 0) {
    const QTextLine text_line = layout->lineForTextPosition(in_block);
    if (text_line.isValid() && block.firstLineNumber() >= 0) {
      line = block.firstLineNumber() + text_line.lineNumber();
      column = in_block - text_line.textStart();
    }
  }
  return QString(" Line %1, Column %2").arg(line + 1).arg(column + 1);
}

RichTextDialog::RichTextDialog(const RichTextRequest& request, QWidget* parent)
    : QDialog(parent), choose_file_(request.choose_file) {
  setObjectName("qorRichTextForm");
  setWindowTitle(ToQ(request.title));
  setSizeGripEnabled(true);

  toolbar_ = new QToolBar(this);
  toolbar_->setObjectName("tb01");
  toolbar_->setToolButtonStyle(Qt::ToolButtonTextOnly);
  AddButton("Open", "Open", "Open a file", false)->setEnabled(request.open);
  AddButton("Save", "Save", "Save to a file", false)->setEnabled(request.save);
  AddButton("Print", "Print", "Print", false)->setEnabled(request.print);
  AddButton("Preview", "Preview", "Print preview", false)->setEnabled(request.print);
  toolbar_->addSeparator();
  AddButton("Bold", "B", "Bold", true)->setShortcut(QKeySequence::Bold);
  AddButton("Italic", "I", "Italic", true)->setShortcut(QKeySequence::Italic);
  AddButton("UnderLine", "U", "Underline", true)->setShortcut(QKeySequence::Underline);
  for (const char* key : {"Bold", "Italic", "UnderLine"}) {
    QWidget* button = toolbar_->widgetForAction(toolbar_->findChild<QAction*>(key));
    QFont font = button->font();
    font.setBold(QLatin1String(key) == "Bold");
    font.setItalic(QLatin1String(key) == "Italic");
    font.setUnderline(QLatin1String(key) == "UnderLine");
    button->setFont(font);
  }
  toolbar_->addSeparator();
  AddButton("JustLeft", "Left", "Align left", true);
  AddButton("JustCentre", "Centre", "Centre", true);
  AddButton("JustRight", "Right", "Align right", true);
  toolbar_->addSeparator();

  font_name_ = AddList("tbcbFontName", QFontDatabase::families(), true);
  font_name_->setMinimumContentsLength(14);
  QStringList sizes;
  for (int size = 8; size <= 72; size += 2) sizes << QString::number(size);
  font_size_ = AddList("tbcbFontSize", sizes, true);
  font_size_->setMinimumContentsLength(3);
  font_colour_ = AddList("tbcbFontColour", {}, false);
  for (const FontColour& colour : kFontColours) {
    font_colour_->addItem(Swatch(colour.value), colour.name);
  }
  font_colour_->setMinimumContentsLength(5);
  font_colour_->setCurrentIndex(0);

  auto apply_font_name = [this](const QString& name) {
    if (name.trimmed().isEmpty()) return;
    QTextCharFormat format;
    format.setFontFamilies(QStringList{name.trimmed()});
    MergeFormat(format);
  };
  auto apply_font_size = [this](const QString& text) {
    bool ok = false;
    const double size = text.trimmed().toDouble(&ok);
    if (!ok || size <= 0 || size > kMaxFontSize) return;
    QTextCharFormat format;
    format.setFontPointSize(size);
    MergeFormat(format);
  };
  // A listed entry chosen or typed, or any text typed and confirmed.
  connect(font_name_, &QComboBox::textActivated, this, apply_font_name);
  connect(font_name_->lineEdit(), &QLineEdit::returnPressed, this,
          [this, apply_font_name] { apply_font_name(font_name_->currentText()); });
  connect(font_size_, &QComboBox::textActivated, this, apply_font_size);
  connect(font_size_->lineEdit(), &QLineEdit::returnPressed, this,
          [this, apply_font_size] { apply_font_size(font_size_->currentText()); });
  connect(font_colour_, &QComboBox::activated, this, [this](int index) {
    if (index < 0 || index >= static_cast<int>(kFontColours.size())) return;
    QTextCharFormat format;
    format.setForeground(ColourOfValue(kFontColours[index].value));
    MergeFormat(format);
  });

  editor_ = new QTextEdit(this);
  editor_->setObjectName("rtf01");
  // The document's default font is the screen font at RTF's default size,
  // so that text without a font of its own shows as it will be read back.
  editor_->setFont(QFont(QFontInfo(font()).family(), kDefaultFontSize));
  std::string error;
  if (!rtf::SetDocumentText(request.text, editor_->document(), &error)) load_error_ = error;
  editor_->document()->clearUndoRedoStacks();
  editor_->moveCursor(QTextCursor::Start);

  status_ = new QLabel(this);
  status_->setObjectName("sbStatus");
  status_->setFrameStyle(QFrame::Panel | QFrame::Sunken);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(toolbar_);
  layout->addWidget(editor_, 1);
  QHBoxLayout* row = OkCancelRow(this);
  row->insertWidget(0, status_, 1);
  layout->addLayout(row);
  // Enter belongs to the text and the lists, never to a default button.
  for (QPushButton* button : findChildren<QPushButton*>()) {
    button->setAutoDefault(false);
    button->setDefault(false);
  }
  // Wide enough for the whole toolbar.
  resize(std::max(780, toolbar_->sizeHint().width() + 2 * layout->contentsMargins().left()), 480);

  connect(editor_, &QTextEdit::cursorPositionChanged, this, [this] { Refresh(); });
  connect(editor_, &QTextEdit::selectionChanged, this, [this] { Refresh(); });
  connect(editor_, &QTextEdit::textChanged, this, [this] { Refresh(); });
  Refresh();
  editor_->setFocus();
}

std::optional<std::string> RichTextDialog::answer() const {
  if (result() != QDialog::Accepted) return std::nullopt;
  return rtf::DocumentToRtf(*editor_->document());
}

QAction* RichTextDialog::AddButton(const char* key, const QString& caption, const QString& tip,
                                   bool checkable) {
  QAction* action = toolbar_->addAction(caption);
  action->setObjectName(key);
  action->setToolTip(tip);
  action->setCheckable(checkable);
  toolbar_->widgetForAction(action)->setObjectName(key);
  const QString name = QString::fromLatin1(key);
  connect(action, &QAction::triggered, this, [this, name] { PressButton(name); });
  return action;
}

QComboBox* RichTextDialog::AddList(const char* name, const QStringList& entries, bool editable) {
  auto* list = new QComboBox(toolbar_);
  list->setObjectName(name);
  list->setEditable(editable);
  list->setInsertPolicy(QComboBox::NoInsert);
  list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  list->addItems(entries);
  toolbar_->addWidget(list);
  return list;
}

void RichTextDialog::PressButton(const QString& key) {
  Guard(Reporter("RichTextForm"), [&] {
    if (key.isEmpty()) {
      ShowMessage(Variant(""));
      return;
    }
    QAction* action = toolbar_->findChild<QAction*>(key, Qt::FindDirectChildrenOnly);
    if (action == nullptr || !action->isEnabled()) return;
    QTextCharFormat format;
    if (key == "Open") {
      OpenFile();
    } else if (key == "Save") {
      SaveFile();
    } else if (key == "Print" || key == "Preview") {
      ShowUnderConstruction();
    } else if (key == "Bold") {
      format.setFontWeight(action->isChecked() ? QFont::Bold : QFont::Normal);
      MergeFormat(format);
    } else if (key == "Italic") {
      format.setFontItalic(action->isChecked());
      MergeFormat(format);
    } else if (key == "UnderLine") {
      format.setFontUnderline(action->isChecked());
      MergeFormat(format);
    } else {
      for (const Justification& j : kJustifications) {
        if (key == j.key) Justify(key, j.alignment);
      }
    }
  });
}

void RichTextDialog::MergeFormat(const QTextCharFormat& format) {
  editor_->mergeCurrentCharFormat(format);
  editor_->setFocus();
  Refresh();
}

void RichTextDialog::Justify(const QString& key, Qt::Alignment alignment) {
  editor_->setAlignment(alignment);
  for (const Justification& j : kJustifications) {
    toolbar_->findChild<QAction*>(j.key)->setChecked(key == j.key);
  }
  editor_->setFocus();
}

void RichTextDialog::OpenFile() {
  const std::string path = choose_file_ ? choose_file_(false) : std::string();
  if (IsBlank(Variant(path), true)) return;
  // The file is read into a document of its own, which then replaces the
  // box's: the box lays the text out once, not at every insertion.
  auto* doc = new QTextDocument(editor_);
  doc->setDefaultFont(editor_->document()->defaultFont());
  std::string error;
  if (!rtf::LoadDocumentFile(path, doc, &error)) {
    delete doc;
    ShowError(Variant(error));
    return;
  }
  // The box deletes the document it made itself; one swapped in before
  // belongs to the form.
  QTextDocument* previous = editor_->document();
  const bool previous_is_ours = previous->parent() == editor_;
  editor_->setDocument(doc);
  if (previous_is_ours) delete previous;
  editor_->moveCursor(QTextCursor::Start);
  Refresh();
}

void RichTextDialog::SaveFile() {
  const std::string path = choose_file_ ? choose_file_(true) : std::string();
  if (IsBlank(Variant(path), true)) return;
  std::string error;
  if (!rtf::SaveDocumentFile(*editor_->document(), path, &error)) {
    ShowError(Variant(error));
    return;
  }
  ShowMessage(Variant("File successfully saved"));
}

void RichTextDialog::Refresh() {
  const SelectionAttributes a = AttributesOf(*editor_);
  if (a.font_name) ShowValue(font_name_, *a.font_name);
  if (a.font_size) ShowValue(font_size_, QString::number(*a.font_size));
  if (a.colour) {
    for (size_t i = 0; i < kFontColours.size(); ++i) {
      if (kFontColours[i].value == *a.colour) font_colour_->setCurrentIndex(static_cast<int>(i));
    }
  }
  toolbar_->findChild<QAction*>("Bold")->setChecked(a.bold);
  toolbar_->findChild<QAction*>("Italic")->setChecked(a.italic);
  toolbar_->findChild<QAction*>("UnderLine")->setChecked(a.underline);
  for (const Justification& j : kJustifications) {
    toolbar_->findChild<QAction*>(j.key)->setChecked(a.alignment == j.alignment);
  }
  status_->setText(CaretStatus(editor_->textCursor()));
}

}  // namespace qor::ui::qt
