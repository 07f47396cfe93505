#pragma once
// The demo host's edit dialog for one IBO, opened when a view raises IboEdit.

#include <QDialog>

#include "ibo_store.h"

class QComboBox;
class QDateEdit;
class QDoubleSpinBox;
class QLineEdit;
class QPlainTextEdit;

class IboEditDialog : public QDialog {
    Q_OBJECT

public:
    IboEditDialog(const IboRecord& ibo, QWidget* parent = nullptr);
    IboRecord Result() const;

private:
    IboRecord ibo_;
    QLineEdit* number_;
    QLineEdit* first_;
    QLineEdit* last_;
    QLineEdit* company_;
    QLineEdit* product_;
    QLineEdit* productDetail_;
    QDateEdit* date_;
    QComboBox* status_;
    QComboBox* priority_;
    QComboBox* uwih_;
    QComboBox* uwwgi_;
    QDoubleSpinBox* value_;
    QPlainTextEdit* note_;
};
