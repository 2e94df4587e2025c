#pragma once
// "Sobre o Orvandel": the version, what the app does and the licences of
// what it is built with, over the window like the other alerts (AlertBox).
class QMessageBox;
class QWidget;

namespace orvandel::AboutBox {

// Shown (open(), not exec()); deleted when closed.
QMessageBox* present(QWidget* window);

}  // namespace orvandel::AboutBox
