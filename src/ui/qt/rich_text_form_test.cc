// The rich-text editor form on real widgets (Qt's offscreen platform),
// reached through qorForms.RichTextForm as an application reaches it and
// driven as a user drives it: toolbar clicks, list choices, keys, and the
// file requesters it asks with.

#include "ui/qt/rich_text_form.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QFileDialog>
#include <QFontDatabase>
#include <QLabel>
#include <QMessageBox>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/ui/qt/qt_backend.h"
#include "testing/test_util.h"
#include "ui/qt/qt_dialogs.h"
#include "ui/qt/qt_test_util.h"
#include "ui/qt/rtf/document_io.h"

namespace qor::ui {
namespace {

class RichTextFormTest : public ::testing::Test {
 protected:
  std::shared_ptr<QtBackend> backend_ = std::make_shared<QtBackend>();
  ScopedBackend scope_{backend_};
  qorForms forms_;
};

// Runs act on the editor form once it is shown; a form that act leaves
// open (a failed assertion) is cancelled, so that the test goes on.
void WhenForm(std::function<void(QWidget*)> act) {
  WhenModal([act](QWidget* form) {
    act(form);
    if (form->isVisible()) {
      ADD_FAILURE() << "the form was left open";
      static_cast<QDialog*>(form)->reject();
    }
  });
}

QTextEdit* Editor(QWidget* form) { return Named<QTextEdit>(form, "rtf01"); }
QComboBox* List(QWidget* form, const char* name) { return Named<QComboBox>(form, name); }
QAction* Button(QWidget* form, const char* key) { return Named<QAction>(form, key); }
QString Status(QWidget* form) { return Named<QLabel>(form, "sbStatus")->text(); }

QStringList Entries(QComboBox* list) {
  QStringList entries;
  for (int i = 0; i < list->count(); ++i) entries << list->itemText(i);
  return entries;
}

// Selects the characters [from, to) of the box, as dragging over them does.
void Select(QTextEdit* editor, int from, int to) {
  QTextCursor cursor = editor->textCursor();
  cursor.setPosition(from);
  cursor.setPosition(to, QTextCursor::KeepAnchor);
  editor->setTextCursor(cursor);
}

void Caret(QTextEdit* editor, int position) { Select(editor, position, position); }

// Chooses a list entry with the arrow keys, as a user does.
void Choose(QComboBox* list, const QString& entry) {
  const int target = list->findText(entry);
  ASSERT_GE(target, 0) << entry.toStdString();
  ASSERT_NE(list->currentIndex(), target);
  for (int steps = 0; list->currentIndex() != target && steps < 1000; ++steps) {
    QTest::keyClick(list, list->currentIndex() < target ? Qt::Key_Down : Qt::Key_Up);
  }
  EXPECT_EQ(list->currentIndex(), target);
}

// The format of the character at position.
QTextCharFormat At(const QTextDocument& doc, int position) {
  QTextCursor cursor(const_cast<QTextDocument*>(&doc));
  cursor.setPosition(position + 1);
  return cursor.charFormat();
}

bool Bold(const QTextDocument& doc, int position) {
  return At(doc, position).fontWeight() >= QFont::DemiBold;
}

// Answers the next message box after checking its text.
void ExpectMessage(const std::string& text) {
  WhenModal<QMessageBox>([text](QMessageBox* box) {
    EXPECT_EQ(qt::FromQ(box->text()), text);
    Click(box, "cbOk");
  });
}

// Answers the next file requester with path, or cancels it when path is
// "". The requester must show exactly the filter given, in its open or
// save form.
void AnswerFileDialog(const std::string& path, const QString& filter, bool save) {
  AnswerFileDialogWith([=](QFileDialog* dialog) {
    EXPECT_EQ(dialog->nameFilters(), QStringList{filter});
    EXPECT_TRUE(dialog->windowTitle().endsWith(save ? "File Save/Save As Requester"
                                                    : "File Open Requester"));
    EXPECT_EQ(dialog->fileMode(), save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    if (path.empty()) {
      dialog->reject();
      return;
    }
    TypeIntoFileDialog(dialog, qt::ToQ(path));
    static_cast<QDialog*>(dialog)->accept();  // as the dialog's own button does
  });
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

TEST_F(RichTextFormTest, ListsTitleAndPermissions) {
  Variant text("plain words");
  WhenForm([&](QWidget* form) {
    EXPECT_EQ(form->windowTitle(), "  RichText Edit Form");
    EXPECT_EQ(Entries(List(form, "tbcbFontColour")),
              (QStringList{"Black", "Blue", "Red", "Green"}));
    EXPECT_EQ(List(form, "tbcbFontColour")->currentIndex(), 0);
    QStringList sizes;
    for (int size = 8; size <= 72; size += 2) sizes << QString::number(size);
    EXPECT_EQ(Entries(List(form, "tbcbFontSize")), sizes);
    EXPECT_EQ(List(form, "tbcbFontSize")->currentText(), "12");
    EXPECT_EQ(Entries(List(form, "tbcbFontName")), QFontDatabase::families());
    EXPECT_GE(List(form, "tbcbFontName")->currentIndex(), 0);
    EXPECT_TRUE(Button(form, "Open")->isEnabled());
    EXPECT_FALSE(Button(form, "Save")->isEnabled());
    EXPECT_FALSE(Button(form, "Print")->isEnabled());
    EXPECT_FALSE(Button(form, "Preview")->isEnabled());
    EXPECT_EQ(Editor(form)->toPlainText(), "plain words");
    EXPECT_EQ(Status(form), " Line 1, Column 1");
    QTest::keyClicks(Editor(form), "more ");
    Click(form, "cbCancel");
  });
  EXPECT_FALSE(forms_.RichTextForm(text, "", true, false, false));
  EXPECT_EQ(text, Variant("plain words"));

  WhenForm([&](QWidget* form) {
    EXPECT_EQ(form->windowTitle(), "Letter");
    EXPECT_FALSE(Button(form, "Open")->isEnabled());
    EXPECT_TRUE(Button(form, "Save")->isEnabled());
    for (const char* key : {"Print", "Preview"}) {
      EXPECT_TRUE(Button(form, key)->isEnabled());
      ExpectMessage("Under Construction");
      Click(form, key);
    }
    Click(form, "Open");  // disabled: nothing happens
    EXPECT_EQ(Editor(form)->toPlainText(), "plain words");
    form->close();  // the close control
  });
  EXPECT_FALSE(forms_.RichTextForm(text, "", false, true, true, "Letter"));
  EXPECT_EQ(text, Variant("plain words"));
}

TEST_F(RichTextFormTest, ToolbarAndListsChangeExactlyTheSelection) {
  Variant text("alpha beta gamma\nsecond line");
  const QStringList families = QFontDatabase::families();
  ASSERT_GE(families.size(), 2);
  QString chosen_family;
  WhenForm([&](QWidget* form) {
    QTextEdit* editor = Editor(form);
    const QTextDocument& doc = *editor->document();
    Select(editor, 6, 10);  // "beta"
    Click(form, "Bold");
    Choose(List(form, "tbcbFontSize"), "20");
    Choose(List(form, "tbcbFontColour"), "Red");
    QComboBox* names = List(form, "tbcbFontName");
    chosen_family = families[names->currentIndex() == 0 ? 1 : 0];
    Choose(names, chosen_family);
    for (int i : {6, 9}) {
      EXPECT_TRUE(Bold(doc, i));
      EXPECT_EQ(At(doc, i).fontPointSize(), 20);
      EXPECT_EQ(At(doc, i).foreground().color(), QColor(255, 0, 0));
      EXPECT_EQ(At(doc, i).fontFamilies().toStringList(), QStringList{chosen_family});
    }
    for (int i : {5, 10}) {  // the spaces around it
      EXPECT_FALSE(Bold(doc, i));
      EXPECT_EQ(At(doc, i).fontPointSize(), 0);
      EXPECT_FALSE(At(doc, i).hasProperty(QTextFormat::ForegroundBrush));
      EXPECT_TRUE(At(doc, i).fontFamilies().toStringList().isEmpty());
    }

    Select(editor, 0, 5);  // "alpha"
    Click(form, "Italic");
    Click(form, "UnderLine");
    EXPECT_TRUE(At(doc, 0).fontItalic() && At(doc, 4).fontUnderline());
    EXPECT_FALSE(At(doc, 5).fontItalic() || At(doc, 5).fontUnderline() || At(doc, 6).fontItalic());

    // Bold over a selection that is partly bold: shown not pressed, and
    // pressing it makes all of it bold, then none of it.
    Select(editor, 0, 10);
    EXPECT_FALSE(Button(form, "Bold")->isChecked());
    Click(form, "Bold");
    EXPECT_TRUE(Bold(doc, 0) && Bold(doc, 5) && Bold(doc, 9));
    Click(form, "Bold");
    EXPECT_FALSE(Bold(doc, 0) || Bold(doc, 5) || Bold(doc, 9));
    EXPECT_FALSE(Bold(doc, 10));
    Select(editor, 6, 10);
    Click(form, "Bold");

    Caret(editor, 20);  // in the second paragraph
    Click(form, "JustCentre");
    EXPECT_EQ(doc.findBlockByNumber(1).blockFormat().alignment() & Qt::AlignHCenter,
              Qt::AlignHCenter);
    EXPECT_FALSE(doc.findBlockByNumber(0).blockFormat().hasProperty(QTextFormat::BlockAlignment));
    Click(form, "JustRight");
    EXPECT_TRUE(Button(form, "JustRight")->isChecked());
    EXPECT_FALSE(Button(form, "JustCentre")->isChecked());
    EXPECT_FALSE(Button(form, "JustLeft")->isChecked());
    Click(form, "cbOk");
  });
  ASSERT_TRUE(forms_.RichTextForm(text));

  // What comes back is RTF that reads back with every change.
  ASSERT_TRUE(text.IsString());
  EXPECT_EQ(text.AsString().rfind("{\\rtf", 0), 0u);
  QTextDocument back;
  ASSERT_TRUE(rtf::SetDocumentText(text.AsString(), &back));
  EXPECT_EQ(back.toPlainText(), "alpha beta gamma\nsecond line");
  EXPECT_TRUE(Bold(back, 6) && !Bold(back, 5) && !Bold(back, 0));
  EXPECT_EQ(At(back, 7).fontPointSize(), 20);
  EXPECT_EQ(At(back, 7).foreground().color(), QColor(255, 0, 0));
  EXPECT_EQ(At(back, 7).fontFamilies().toStringList(), QStringList{chosen_family});
  EXPECT_TRUE(At(back, 2).fontItalic() && At(back, 2).fontUnderline());
  EXPECT_EQ(back.findBlockByNumber(1).blockFormat().alignment() & Qt::AlignRight, Qt::AlignRight);
}

TEST_F(RichTextFormTest, ToolbarListsAndStatusLineFollowTheSelection) {
  const QStringList families = QFontDatabase::families();
  ASSERT_GE(families.size(), 2);
  const std::string rtf = "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 " + qt::FromQ(families[0]) +
                          ";}{\\f1 " + qt::FromQ(families[1]) +
                          ";}}{\\colortbl;\\red255\\green0\\blue0;\\red0\\green0\\blue255;}\n"
                          "\\pard\\fs20 small {\\b\\fs40\\cf1 big}\\par\n"
                          "\\pard\\qc\\f1\\fs20\\cf2 centred\\line next\\par}";
  Variant text(rtf);
  WhenForm([&](QWidget* form) {
    QTextEdit* editor = Editor(form);
    ASSERT_EQ(editor->document()->toRawText(),
              QString("small big") + QChar(0x2029) + "centred" + QChar(0x2028) + "next");
    QComboBox* sizes = List(form, "tbcbFontSize");
    QComboBox* names = List(form, "tbcbFontName");
    QComboBox* colours = List(form, "tbcbFontColour");

    Caret(editor, 8);  // in "big"
    EXPECT_EQ(sizes->currentText(), "20");
    EXPECT_EQ(names->currentText(), families[0]);
    EXPECT_EQ(colours->currentText(), "Red");
    EXPECT_TRUE(Button(form, "Bold")->isChecked());
    EXPECT_TRUE(Button(form, "JustLeft")->isChecked());
    EXPECT_EQ(Status(form), " Line 1, Column 9");

    Select(editor, 2, 8);  // "all b": two sizes, colours and weights
    EXPECT_EQ(sizes->currentText(), "20");
    EXPECT_EQ(colours->currentText(), "Red");
    EXPECT_EQ(names->currentText(), families[0]);  // one font throughout
    EXPECT_FALSE(Button(form, "Bold")->isChecked());

    Caret(editor, 2);
    EXPECT_EQ(sizes->currentText(), "10");
    EXPECT_EQ(colours->currentText(), "Black");
    EXPECT_FALSE(Button(form, "Bold")->isChecked());

    Caret(editor, 12);  // in "centred"
    EXPECT_EQ(names->currentText(), families[1]);
    EXPECT_EQ(colours->currentText(), "Blue");
    EXPECT_TRUE(Button(form, "JustCentre")->isChecked());
    EXPECT_FALSE(Button(form, "JustLeft")->isChecked() || Button(form, "JustRight")->isChecked());
    Select(editor, 2, 12);  // two paragraphs, two alignments, two fonts
    EXPECT_FALSE(Button(form, "JustLeft")->isChecked() || Button(form, "JustCentre")->isChecked() ||
                 Button(form, "JustRight")->isChecked());
    EXPECT_EQ(names->currentText(), families[1]);

    // The status line follows the caret as keys move it; a line break
    // starts a line of its own.
    Caret(editor, 20);  // "ne|xt"
    EXPECT_EQ(Status(form), " Line 3, Column 3");
    QTest::keyClick(editor, Qt::Key_Home);
    EXPECT_EQ(Status(form), " Line 3, Column 1");
    QTest::keyClick(editor, Qt::Key_Up);
    EXPECT_TRUE(Status(form).startsWith(" Line 2, Column "));  // centred lines: x differs
    QTest::keyClick(editor, Qt::Key_Home);
    EXPECT_EQ(Status(form), " Line 2, Column 1");
    QTest::keyClick(editor, Qt::Key_End);
    EXPECT_EQ(Status(form), " Line 2, Column 8");
    QTest::keyClick(editor, Qt::Key_Up);
    QTest::keyClick(editor, Qt::Key_Home);
    QTest::keyClicks(editor, "ab");
    EXPECT_EQ(Status(form), " Line 1, Column 3");
    QTest::keyClick(editor, Qt::Key_Escape);
  });
  EXPECT_FALSE(forms_.RichTextForm(text));
  EXPECT_EQ(text, Variant(rtf));
}

TEST_F(RichTextFormTest, OpenAndSaveThroughTheFileRequester) {
  testing::TempDir dir;
  const std::string letter = dir.File("letter.rtf");
  const std::string letter_rtf = "{\\rtf1\\ansi {\\b Dear} Sir\\par}";
  WriteFile(letter, letter_rtf);
  const std::string notes = dir.File("notes.txt");
  WriteFile(notes, "caf\xe9\r\nnotes");  // Windows-1252 plain text
  const std::string hostile = dir.File("deep.rtf");
  WriteFile(hostile, "{\\rtf1 " + std::string(100000, '{') + "x");
  const QString open_filter = "Rich Text Files (*.rtf *.wrf *.txt)";
  const QString save_filter = "Rich Text Files (*.rtf)";
  auto listing = [&] {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  };
  const std::vector<std::string> files_before = listing();

  Variant text("draft");
  WhenForm([&](QWidget* form) {
    QTextEdit* editor = Editor(form);
    AnswerFileDialog("", open_filter, false);
    Click(form, "Open");
    EXPECT_EQ(editor->toPlainText(), "draft");

    AnswerFileDialog(letter, open_filter, false);
    Click(form, "Open");
    EXPECT_EQ(editor->toPlainText(), "Dear Sir");
    EXPECT_TRUE(Bold(*editor->document(), 0));
    EXPECT_TRUE(Button(form, "Bold")->isChecked());  // the caret went to the start

    AnswerFileDialog("", save_filter, true);
    Click(form, "Save");
    EXPECT_EQ(listing(), files_before);

    // A file that cannot be read as RTF is reported and changes nothing.
    WhenModal<QMessageBox>([&](QMessageBox* box) {
      EXPECT_NE(qt::FromQ(box->text()).find("deep.rtf"), std::string::npos);
      Click(box, "cbOk");
    });
    AnswerFileDialog(hostile, open_filter, false);
    Click(form, "Open");
    EXPECT_EQ(editor->toPlainText(), "Dear Sir");

    editor->moveCursor(QTextCursor::End);
    QTest::keyClicks(editor, ", hello");
    AnswerFileDialog(dir.File("copy.rtf"), save_filter, true);
    ExpectMessage("File successfully saved");
    Click(form, "Save");

    AnswerFileDialog(notes, open_filter, false);
    Click(form, "Open");
    EXPECT_EQ(editor->toPlainText(), QString::fromUtf8("caf\xc3\xa9\nnotes"));
    Click(form, "cbCancel");
  });
  EXPECT_FALSE(forms_.RichTextForm(text, "", true, true));
  EXPECT_EQ(text, Variant("draft"));

  std::vector<std::string> files_after = files_before;
  files_after.push_back("copy.rtf");
  std::sort(files_after.begin(), files_after.end());
  EXPECT_EQ(listing(), files_after);
  EXPECT_EQ(ReadAll(letter), letter_rtf);
  QTextDocument saved;
  ASSERT_TRUE(rtf::LoadDocumentFile(dir.File("copy.rtf"), &saved));
  EXPECT_EQ(saved.toPlainText(), "Dear Sir, hello");
  EXPECT_TRUE(Bold(saved, 0) && !Bold(saved, 5));
}

TEST_F(RichTextFormTest, FileToLoadReplacesTheText) {
  testing::TempDir dir;
  WriteFile(dir.File("memo.txt"), "First line\r\nSecond line");
  Variant text("given text");
  WhenForm([](QWidget* form) {
    EXPECT_EQ(Editor(form)->toPlainText(), "First line\nSecond line");
    Click(form, "cbOk");
  });
  ASSERT_TRUE(forms_.RichTextForm(text, dir.File("memo.txt")));
  QTextDocument back;
  ASSERT_TRUE(rtf::SetDocumentText(text.AsString(), &back));
  EXPECT_EQ(back.toPlainText(), "First line\nSecond line");
}

}  // namespace
}  // namespace qor::ui
