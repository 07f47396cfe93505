#pragma once
// Where the demo prints when the machine has no printer: a PDF named after the view, in the
// user's documents folder when there is one, else in the home folder (a folder that exists).

#include <QString>

namespace BrevViewDemo {

QString PrintPdfPath(const QString& viewName);

}  // namespace BrevViewDemo
