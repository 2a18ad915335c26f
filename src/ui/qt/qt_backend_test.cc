// The Qt backend on real widgets (Qt's offscreen platform), driven with
// QTest the way a user drives the dialogs: keys, clicks, the close control.

#include "qorsupport/ui/qt/qt_backend.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/dialogs/list.h"
#include "qorsupport/dialogs/requesters.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"
#include "ui/qt/qt_dialogs.h"
#include "ui/qt/qt_test_util.h"

namespace qor::ui {
namespace {

// A key typed where the focus is, as a user types it.
void Type(QWidget* dialog, char key) {
  QWidget* target = dialog->focusWidget() ? dialog->focusWidget() : dialog;
  QTest::keyClick(target, key);
}

void Escape(QWidget* dialog) {
  QWidget* target = dialog->focusWidget() ? dialog->focusWidget() : dialog;
  QTest::keyClick(target, Qt::Key_Escape);
}

class QtBackendTest : public ::testing::Test {
 protected:
  std::shared_ptr<QtBackend> backend_ = std::make_shared<QtBackend>();
  ScopedBackend scope_{backend_};
};

TEST_F(QtBackendTest, MessageBoxesOfferTheirButtonsDefaultAndEscapeRule) {
  struct Case {
    int style;
    std::vector<const char*> buttons;
    const char* default_button;
    std::optional<int> escape;
  };
  const std::vector<Case> cases = {
      {0 + 64, {"cbOk"}, "cbOk", kIdOk},
      {1 + 32 + 256, {"cbOk", "cbCancel"}, "cbCancel", kIdCancel},
      {3 + 32 + 256, {"cbYes", "cbNo", "cbCancel"}, "cbNo", kIdCancel},
      {4 + 32 + 256, {"cbYes", "cbNo"}, "cbNo", std::nullopt},
      {5 + 48, {"cbRetry", "cbCancel"}, "cbRetry", kIdCancel},
      {2 + 16, {"cbAbort", "cbRetry", "cbIgnore"}, "cbAbort", std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.style);
    MsgBoxRequest request{"Payroll Message", "Line one\r\nLine two", c.style};
    WhenModal([&](QWidget* dialog) {
      auto* box = qobject_cast<QMessageBox*>(dialog);
      ASSERT_NE(box, nullptr);
      EXPECT_EQ(box->windowTitle(), "Payroll Message");
      EXPECT_EQ(box->text(), "Line one\nLine two");
      EXPECT_EQ(box->buttons().size(), static_cast<qsizetype>(c.buttons.size()));
      for (const char* name : c.buttons) Named(box, name);
      ASSERT_NE(box->defaultButton(), nullptr);
      EXPECT_EQ(box->defaultButton()->objectName(), c.default_button);
      Escape(box);
      if (!c.escape) {
        box->close();  // neither Escape nor the close control ends it
        QApplication::processEvents();
        EXPECT_TRUE(box->isVisible());
        Click(box, c.default_button);
      }
    });
    int expected = c.escape.value_or(MsgBoxDefaultAnswer(c.style));
    EXPECT_EQ(backend_->MsgBox(request), expected);
  }
  MsgBoxRequest question{"t", "q", 32};
  qt::MsgBoxDialog box(question);
  EXPECT_EQ(box.icon(), QMessageBox::Question);
  EXPECT_EQ(qt::MsgBoxDialog(MsgBoxRequest{"t", "q", 16}).icon(), QMessageBox::Critical);
}

TEST_F(QtBackendTest, MenuAnswersKeysAndClicks) {
  std::array<std::string, 13> labels;
  labels[0] = "Post";
  labels[1] = "Print";
  labels[4] = "Quit";
  qorForms forms;
  WhenModal([](QWidget* dialog) {
    EXPECT_TRUE(Named(dialog, "cb05")->isVisible());
    EXPECT_FALSE(Named(dialog, "cb03")->isVisible());
    EXPECT_FALSE(Named(dialog, "t03")->isVisible());
    EXPECT_FALSE(Named(dialog, "tHeading2")->isVisible());
    EXPECT_EQ(Named<QLineEdit>(dialog, "tHeading1")->text(), "Ledger");
    EXPECT_EQ(Named<QLineEdit>(dialog, "t05")->text(), "Quit");
    EXPECT_EQ(dialog->windowTitle(), "Menu Form");
    Type(dialog, 'b');
  });
  EXPECT_EQ(forms.MenuForm(labels, "Ledger"), 11);
  WhenModal([](QWidget* dialog) { Type(dialog, '7'); });  // a row that is not shown
  EXPECT_EQ(forms.MenuForm(labels, "Ledger"), 7);
  WhenModal([](QWidget* dialog) {
    Type(dialog, 'x');  // outside the key map: ignored
    Type(dialog, 'N');
  });
  EXPECT_EQ(forms.MenuForm(labels, "Ledger", "March", "Books"), 0);
  WhenModal([](QWidget* dialog) {
    EXPECT_TRUE(Named(dialog, "tHeading2")->isVisible());
    EXPECT_EQ(dialog->windowTitle(), "  Books");
    Click(dialog, "cb05");
  });
  EXPECT_EQ(forms.MenuForm(labels, "Ledger", "March", "Books"), 5);
  WhenModal([](QWidget* dialog) {
    int shown = 0;
    for (QPushButton* b : dialog->findChildren<QPushButton*>()) shown += b->isVisible();
    EXPECT_EQ(shown, 1);  // 13 blank items: only cbCancel
    EXPECT_TRUE(Named(dialog, "cbCancel")->isVisible());
    Type(dialog, 'd');  // keys work whatever is shown
  });
  EXPECT_EQ(forms.MenuForm({}), 13);
  WhenModal([](QWidget* dialog) { dialog->close(); });
  EXPECT_EQ(forms.MenuForm(labels), 0);
}

TEST_F(QtBackendTest, ListShowsSortedItemsAndMapsTheChoiceBack) {
  qorList list;
  list.Init();
  for (const char* s : {"b", "a", "c"}) list.AddItem(s);
  list.SetSorted(1);
  auto texts = [](QListWidget* l) {
    std::vector<std::string> t;
    for (int i = 0; i < l->count(); ++i) t.push_back(qt::FromQ(l->item(i)->text()));
    return t;
  };
  WhenModal([&](QWidget* dialog) {
    auto* l = Named<QListWidget>(dialog, "List1");
    EXPECT_EQ(texts(l), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(dialog->windowTitle(), "List Form");
    QTest::mouseClick(l->viewport(), Qt::LeftButton, {}, l->visualItemRect(l->item(1)).center());
    Click(dialog, "cbOk");
  });
  EXPECT_TRUE(list.Display());
  EXPECT_EQ(list.SelectedIndex(), 0);  // "b" was added first

  list.SetSorted(2);
  WhenModal([&](QWidget* dialog) {
    auto* l = Named<QListWidget>(dialog, "List1");
    EXPECT_EQ(texts(l), (std::vector<std::string>{"c", "b", "a"}));
    QTest::mouseClick(l->viewport(), Qt::LeftButton, {}, l->visualItemRect(l->item(0)).center());
    QTest::keyClick(l, Qt::Key_Return);  // Enter on an entry chooses it
  });
  EXPECT_TRUE(list.Display());
  EXPECT_EQ(list.SelectedIndex(), 2);

  WhenModal([&](QWidget* dialog) { Escape(dialog); });
  EXPECT_FALSE(list.Display());
  EXPECT_EQ(list.SelectedIndex(), -1);

  Variant chosen;
  WhenModal([&](QWidget* dialog) {
    auto* l = Named<QListWidget>(dialog, "List1");
    EXPECT_EQ(l->selectionMode(), QAbstractItemView::MultiSelection);
    for (int row : {2, 0}) {
      QTest::mouseClick(l->viewport(), Qt::LeftButton, {},
                        l->visualItemRect(l->item(row)).center());
    }
    Click(dialog, "cbOk");
  });
  EXPECT_TRUE(list.DisplayMultiSelect(chosen));
  ASSERT_TRUE(chosen.IsArray());
  EXPECT_EQ(chosen.AsArray().DimensionBounds(1).lower, 1);
  EXPECT_EQ(chosen.AsArray().At({1}), Variant("c"));
  EXPECT_EQ(chosen.AsArray().At({2}), Variant("a"));
}

TEST_F(QtBackendTest, ListFontSizesAndTenThousandItems) {
  qorList list;
  list.Init();
  for (int i = 0; i < 10000; ++i) list.AddItem("Row " + std::to_string(i));
  list.SetUseFixedWidthFont(true);
  list.SetBigFlag(true);
  QElapsedTimer clock;
  qint64 shown_after = -1;
  WhenModal([&](QWidget* dialog) {
    shown_after = clock.elapsed();
    auto* l = Named<QListWidget>(dialog, "List1");
    EXPECT_EQ(l->count(), 10000);
    EXPECT_TRUE(QFontInfo(l->font()).fixedPitch());
    EXPECT_EQ(dialog->width(), 500);
    EXPECT_EQ(dialog->height(), 700);
    EXPECT_FALSE(Named(dialog, "cbPrint")->isVisible());
    l->setCurrentRow(9999);
    Click(dialog, "cbOk");
  });
  clock.start();
  EXPECT_TRUE(list.Display());
  EXPECT_EQ(list.SelectedText(), Variant("Row 9999"));
  std::printf("10,000-item list shown after %lld ms\n", static_cast<long long>(shown_after));
  EXPECT_LT(shown_after, 3000);
}

TEST_F(QtBackendTest, RequesterCutsLinesToTheirMeasuredWidth) {
  qorForms forms;
  const std::string long_line(400, 'W');
  WhenModal([&](QWidget* dialog) {
    EXPECT_EQ(dialog->windowTitle(), "  Request Form  ");
    auto* line = Named<QLabel>(dialog, "lblMsg1");
    const QString shown = line->text();
    EXPECT_LT(shown.size(), 400);
    EXPECT_GT(shown.size(), 10);
    EXPECT_LE(backend_->TextWidthMm("MS Sans Serif", 10, qt::FromQ(shown)), 250.0);
    EXPECT_GT(backend_->TextWidthMm("MS Sans Serif", 10, qt::FromQ(shown) + "W"), 250.0);
    EXPECT_EQ(Named<QLabel>(dialog, "lblMsg2")->text(), "short");
    EXPECT_EQ(dialog->findChild<QWidget*>("cbNo"), nullptr);  // no second caption
    EXPECT_EQ(Named<QPushButton>(dialog, "cbYes")->text(), "Yes");
    EXPECT_EQ(Named(dialog, "cbYes")->font().pointSize(), 12);
    Click(dialog, "cbYes");
  });
  EXPECT_TRUE(forms.Requester(long_line, "short"));
  WhenModal([](QWidget* dialog) {
    EXPECT_EQ(Named<QPushButton>(dialog, "cbNo")->text(), "Stop");
    Click(dialog, "cbNo");
  });
  EXPECT_FALSE(forms.Requester("q", "", "", "Go", "Stop"));
  WhenModal([](QWidget* dialog) { dialog->close(); });
  EXPECT_FALSE(forms.Requester("q", "", "", "Go", "Stop"));
}

TEST_F(QtBackendTest, CalendarShowsTheInitialDateAndReturnsItOnCancel) {
  qorForms forms;
  WhenModal([](QWidget* dialog) {
    EXPECT_EQ(Named<QCalendarWidget>(dialog, "cal01")->selectedDate(), QDate(2003, 3, 7));
    EXPECT_EQ(dialog->windowTitle(), "  Due");
    Click(dialog, "cbCancel");
  });
  EXPECT_EQ(forms.CalendarForm(Variant("3/7/2003"), "Due"), Variant(vb::DateSerial(2003, 3, 7)));
  WhenModal([](QWidget* dialog) {
    Named<QCalendarWidget>(dialog, "cal01")->setSelectedDate(QDate(2024, 2, 29));
    Click(dialog, "cbOk");
  });
  EXPECT_EQ(forms.CalendarForm(Variant("3/7/2003")), Variant(vb::DateSerial(2024, 2, 29)));
  WhenModal([](QWidget* dialog) {
    EXPECT_EQ(Named<QCalendarWidget>(dialog, "cal01")->selectedDate(), QDate::currentDate());
    Escape(dialog);
  });
  EXPECT_EQ(forms.CalendarForm(), Variant::Null());
}

TEST_F(QtBackendTest, InputBoxAnswersTheTypedText) {
  qorForms forms;
  WhenModal([](QWidget* dialog) {
    auto* edit = Named<QLineEdit>(dialog, "txtAnswer");
    EXPECT_EQ(edit->text(), "World");
    EXPECT_EQ(Named<QLabel>(dialog, "lblPrompt")->text(), "Name?");
    edit->clear();
    QTest::keyClicks(edit, "Ada");
    QTest::keyClick(edit, Qt::Key_Return);
  });
  EXPECT_EQ(forms.InputForm("Name?", "World"), Variant("Ada"));
  WhenModal([](QWidget* dialog) { Click(dialog, "cbCancel"); });
  EXPECT_FALSE(AskInput("Name?", "").has_value());
}

TEST_F(QtBackendTest, FileDialogFiltersTitleFolderAndLongPaths) {
  testing::TempDir dir;
  std::filesystem::path deep = dir.path() / std::string(120, 'd') / std::string(60, 'e');
  std::filesystem::create_directories(deep);
  const std::string file = (deep / "report.txt").string();
  {
    std::FILE* f = std::fopen(file.c_str(), "w");
    std::fclose(f);
  }
  ASSERT_GT(file.size(), 128u);
  FileRequester requester;
  AnswerFileDialogWith([&](QFileDialog* fd) {
    EXPECT_EQ(fd->windowTitle(), "Unknown Application File Open Requester");
    EXPECT_EQ(fd->nameFilters(), QStringList{"Text (*.txt *.log)"});
    EXPECT_EQ(fd->fileMode(), QFileDialog::ExistingFile);
    EXPECT_EQ(fd->directory().absolutePath(), qt::ToQ(deep.string()));
    TypeIntoFileDialog(fd, qt::ToQ(file));
    static_cast<QDialog*>(fd)->accept();  // as the dialog's own Open button does
  });
  EXPECT_EQ(requester.GetFileName(deep.string(), "Text", "*.txt;*.log"), file);

  // A folder that does not exist starts at its nearest existing ancestor; a
  // save name need not exist.
  AnswerFileDialogWith([&](QFileDialog* fd) {
    EXPECT_EQ(fd->directory().absolutePath(), qt::ToQ(dir.path().string()));
    EXPECT_EQ(fd->fileMode(), QFileDialog::AnyFile);
    TypeIntoFileDialog(fd, qt::ToQ(dir.File("letter")));
    static_cast<QDialog*>(fd)->accept();  // as the dialog's own Open button does
  });
  EXPECT_EQ(
      requester.GetFileName(dir.File("missing/deeper"), "Rich Text Files", "*.rtf", true, "rtf"),
      dir.File("letter") + ".rtf");

  AnswerFileDialogWith([](QFileDialog* fd) { fd->reject(); });
  EXPECT_EQ(requester.GetFileName(), "");

  AnswerFileDialogWith([&](QFileDialog* fd) {
    EXPECT_EQ(fd->objectName(), "qorFolderDialog");
    EXPECT_EQ(fd->windowTitle(), "Please Select a Folder");
    fd->setDirectory(qt::ToQ(deep.parent_path().string()));
    static_cast<QDialog*>(fd)->accept();  // as the dialog's own Open button does
  });
  EXPECT_EQ(requester.GetFolderName(), deep.parent_path().string());
  EXPECT_EQ(qt::QtNameFilters(std::string("A (*.a)\0*.a\0\0B\0*.b\0", 19)), QStringList{"A (*.a)"});
}

TEST_F(QtBackendTest, ScreenAndEvents) {
  EXPECT_GT(backend_->PixelsPerInch(), 0);
  backend_->ProcessEvents();
  backend_->Beep();
  EXPECT_GT(backend_->TextWidthMm("Arial", 12, "Hello"), backend_->TextWidthMm("Arial", 12, "Hi"));
}

// Without a display the qt backend declines and the headless one answers at
// once: nothing waits for a user who cannot see the dialog.
TEST(QtSelection, NoDisplayMeansHeadlessAnswers) {
  testing::RunResult run = testing::RunProgram(
      {"/usr/bin/env", "-u", "QOR_UI", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY",
       "QT_QPA_PLATFORM=offscreen", testing::QorBinary(), "msgbox", "--buttons", "1", "Go?"},
      "");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "1\n");                          // OK, the default of an OK/Cancel box
  EXPECT_NE(run.err.find("Go?"), std::string::npos);  // written by the headless backend
}

}  // namespace
}  // namespace qor::ui

int main(int argc, char** argv) {
  // Test discovery runs without the test environment: stay offscreen.
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
