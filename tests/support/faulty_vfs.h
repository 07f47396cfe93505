#pragma once
// A SQLite VFS named "faulty" that passes everything to the default one, except that a
// test can make writes fail after a number of them (an I/O error in the middle of a
// commit) or make every file read-only.

namespace BrevView::test::faulty {

void Register();
// The write after `writes` more successful ones fails with an I/O error; -1: no failure.
void FailWritesAfter(int writes);
// New files open read-only.
void SetReadOnly(bool readOnly);

}  // namespace BrevView::test::faulty
