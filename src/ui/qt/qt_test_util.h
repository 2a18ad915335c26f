// Helpers for the tests of the Qt dialogs: answering a modal dialog once it
// is shown, and finding and clicking its widgets by object name.

#ifndef QOR_UI_QT_QT_TEST_UTIL_H_
#define QOR_UI_QT_QT_TEST_UTIL_H_

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
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
