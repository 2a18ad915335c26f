// Helpers for the tests of the Qt dialogs: answering a modal dialog once it
// is shown, and finding and clicking its widgets by object name.

#ifndef QOR_UI_QT_QT_TEST_UTIL_H_
#define QOR_UI_QT_QT_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QPointer>
#include <QString>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <ostream>
#include <type_traits>

// Test failures show a QString as its text.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

namespace qor::ui {

// Runs act on the modal dialog of type T (any dialog for QWidget) as soon as
// it is the active modal window. Dialogs opened from act (a requester asked
// for by a form) are answered by a WhenModal armed before act opens them.
template <typename T = QWidget>
void WhenModal(std::type_identity_t<std::function<void(T*)>> act) {
  auto* timer = new QTimer;
  timer->setInterval(5);
  QObject::connect(timer, &QTimer::timeout, [timer, act] {
    QWidget* active = QApplication::activeModalWidget();
    T* dialog = dynamic_cast<T*>(active);
    if (dialog == nullptr || !active->isVisible()) return;
    timer->stop();
    timer->deleteLater();
    act(dialog);
  });
  timer->start();
}

// Runs act on the next file or folder dialog as soon as it is the active
// modal window, and again at each tick while that same dialog stays open. A
// file dialog fills its list from a thread of its own, and its accept()
// refuses a name it has not caught up with yet; the answer is given until
// the dialog takes it. The ticks stop once that dialog is gone or another
// window is the active modal one; the timer is deleted with the dialog.
inline void AnswerFileDialogWith(std::function<void(QFileDialog*)> act) {
  auto* timer = new QTimer;
  timer->setInterval(5);
  auto answered = std::make_shared<QPointer<QFileDialog>>();
  auto started = std::make_shared<bool>(false);
  QObject::connect(timer, &QTimer::timeout, [timer, act, answered, started] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (*started && (answered->isNull() || dialog != answered->data())) {
      timer->stop();
      timer->deleteLater();
      return;
    }
    if (dialog == nullptr || !dialog->isVisible()) return;
    if (!*started) timer->setParent(dialog);  // goes with the dialog, ticking or not
    *answered = dialog;
    *started = true;
    act(dialog);
  });
  timer->start();
}

// Chooses path in a file dialog as a user typing it would: the dialog goes
// to the path's folder and the name is written into its name field, which
// does not wait for the dialog's file list (selectFile leaves a name field
// that has the focus as it was).
inline void TypeIntoFileDialog(QFileDialog* dialog, const QString& path) {
  const QFileInfo info(path);
  dialog->setDirectory(info.absolutePath());
  if (auto* name = dialog->findChild<QLineEdit*>("fileNameEdit")) name->setText(info.fileName());
}

template <typename T = QWidget>
T* Named(QWidget* dialog, const char* name) {
  T* widget = dialog->findChild<T*>(name);
  EXPECT_NE(widget, nullptr) << name;
  return widget;
}

inline void Click(QWidget* dialog, const char* name) {
  if (auto* button = Named<QAbstractButton>(dialog, name))
    QTest::mouseClick(button, Qt::LeftButton);
}

}  // namespace qor::ui

#endif  // QOR_UI_QT_QT_TEST_UTIL_H_
