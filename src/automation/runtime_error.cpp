#include "automation/runtime_error.h"

namespace BrevView {

namespace automation {

QString ErrorText(qint32 number)
{
    switch (number) {
    case ErrInvalidProcedureCall:
        return QStringLiteral("Invalid procedure call or argument");
    case ErrOverflow:
        return QStringLiteral("Overflow");
    case ErrOutOfMemory:
        return QStringLiteral("Out of memory");
    case ErrSubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case ErrDivisionByZero:
        return QStringLiteral("Division by zero");
    case ErrTypeMismatch:
        return QStringLiteral("Type mismatch");
    case ErrInternal:
        return QStringLiteral("Internal error");
    case ErrBadFileNameOrNumber:
        return QStringLiteral("Bad file name or number");
    case ErrFileNotFound:
        return QStringLiteral("File not found");
    case ErrPermissionDenied:
        return QStringLiteral("Permission denied");
    case ErrPathFileAccess:
        return QStringLiteral("Path/File access error");
    case ErrObjectNotSet:
        return QStringLiteral("Object variable or With block variable not set");
    case ErrInvalidUseOfNull:
        return QStringLiteral("Invalid use of Null");
    case ErrFileFormat:
        return QStringLiteral("Invalid file format");
    case ErrInvalidArrayIndex:
        return QStringLiteral("Invalid property array index");
    case ErrInvalidPropertyValue:
        return QStringLiteral("Invalid property value");
    case ErrPrinter:
        return QStringLiteral("Printer error");
    case ErrCantCreateObject:
        return QStringLiteral("Can't create object");
    case ErrMethodFailed:
        return QStringLiteral("Automation error");
    case ErrUpdateWithoutEdit:
        return QStringLiteral("Update without Edit.");
    case ErrNoCurrentRecord:
        return QStringLiteral("No current record.");
    case ErrFileNotFoundDb:
        return QStringLiteral("Could not find file.");
    case ErrCantUpdate:
        return QStringLiteral("Cannot update. Database or object is read-only.");
    case ErrDiskIo:
        return QStringLiteral("Disk or network error.");
    case ErrCannotOpenFile:
        return QStringLiteral("The database engine cannot open the file.");
    case ErrTooFewParameters:
        return QStringLiteral("Too few parameters.");
    case ErrInvalidSql:
        return QStringLiteral("Invalid SQL statement.");
    case ErrLocked:
        return QStringLiteral("Couldn't update; currently locked.");
    case ErrItemNotFound:
        return QStringLiteral("Item not found in this collection.");
    case ErrNotADatabase:
        return QStringLiteral("Unrecognized database format.");
    case ErrObjectExists:
        return QStringLiteral("Object already exists.");
    case ErrBadAccount:
        return QStringLiteral("Not a valid account name or password.");
    case ErrNoPermission:
        return QStringLiteral("You do not have the necessary permissions to use the object.");
    case ErrConnectionFailed:
        return QStringLiteral("ODBC--connection failed.");
    default:
        return QStringLiteral("Application-defined or object-defined error");
    }
}

ErrObject& Err()
{
    thread_local ErrObject err;
    return err;
}

void Raise(qint32 number, const QString& source, const QString& description)
{
    throw RuntimeError(number, source, description);
}

}  // namespace automation

RuntimeError::RuntimeError(qint32 number, QString source, QString description)
    : number_(number),
      source_(std::move(source)),
      description_(description.isEmpty() ? automation::ErrorText(number) : std::move(description))
{
    what_ = QStringLiteral("Run-time error %1: %2").arg(number_).arg(description_).toStdString();
}

}  // namespace BrevView
