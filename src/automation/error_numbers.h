#pragma once
// Every run-time error number that BrevView raises, with its standard text.
// The numbers are the automation ones, so a host that checks Err.Number-style
// codes keeps working.

#include <QString>

namespace BrevView::automation {

enum ErrorNumber : qint32 {
    ErrInvalidProcedureCall = 5,    // "Invalid procedure call or argument"
    ErrOverflow = 6,                // "Overflow"
    ErrOutOfMemory = 7,             // "Out of memory"
    ErrSubscriptOutOfRange = 9,     // "Subscript out of range"
    ErrDivisionByZero = 11,         // "Division by zero"
    ErrTypeMismatch = 13,           // "Type mismatch"
    ErrInternal = 51,               // "Internal error"
    ErrBadFileNameOrNumber = 52,    // "Bad file name or number"
    ErrFileNotFound = 53,           // "File not found"
    ErrPermissionDenied = 70,       // "Permission denied"
    ErrPathFileAccess = 75,         // "Path/File access error"
    ErrObjectNotSet = 91,           // "Object variable or With block variable not set"
    ErrInvalidUseOfNull = 94,       // "Invalid use of Null"
    ErrFileFormat = 321,            // "Invalid file format"
    ErrInvalidArrayIndex = 381,     // "Invalid property array index"
    ErrInvalidPropertyValue = 380,  // "Invalid property value"
    ErrPrinter = 482,               // "Printer error"
    ErrCantCreateObject = 429,      // "Can't create object"
    ErrMethodFailed = 440,          // "Automation error"
    ErrNoCurrentRecord = 3021,      // "No current record."
    ErrFileNotFoundDb = 3024,       // "Could not find file '...'."
    ErrCantUpdate = 3027,           // "Cannot update. Database or object is read-only."
    ErrTooFewParameters = 3061,     // "Too few parameters."
    ErrInvalidSql = 3129,           // "Invalid SQL statement."
    ErrDiskIo = 3043,               // "Disk or network error."
    ErrUpdateWithoutEdit = 3020,    // "Update without Edit."
    ErrCannotOpenFile = 3051,       // "The database engine cannot open the file."
    ErrLocked = 3260,               // "Couldn't update; currently locked."
    ErrItemNotFound = 3265,         // "Item not found in this collection."
    ErrNotADatabase = 3343,         // "Unrecognized database format."
    ErrObjectExists = 3012,         // "Object already exists."
    ErrBadAccount = 3029,           // "Not a valid account name or password."
    ErrNoPermission = 3033,         // "You do not have the necessary permissions to use the object."
    ErrConnectionFailed = 3151,     // "ODBC--connection failed."
};

// The standard text of an error number ("Application-defined or object-defined error" for
// numbers without one of their own).
QString ErrorText(qint32 number);

}  // namespace BrevView::automation
