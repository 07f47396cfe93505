#include "faulty_vfs.h"

#include <sqlite3.h>

#include <atomic>
#include <cstring>

namespace BrevView::test::faulty {
namespace {

sqlite3_vfs* g_real = nullptr;
sqlite3_vfs g_vfs;
std::atomic<int> g_writesLeft{-1};
std::atomic<bool> g_readOnly{false};

struct File {
    sqlite3_file base;
    sqlite3_file* real;
};

sqlite3_file* Real(sqlite3_file* f)
{
    return reinterpret_cast<File*>(f)->real;
}

int Close(sqlite3_file* f)
{
    return Real(f)->pMethods ? Real(f)->pMethods->xClose(Real(f)) : SQLITE_OK;
}
int Read(sqlite3_file* f, void* b, int n, sqlite3_int64 o)
{
    return Real(f)->pMethods->xRead(Real(f), b, n, o);
}
int Write(sqlite3_file* f, const void* b, int n, sqlite3_int64 o)
{
    int left = g_writesLeft.load();
    if (left == 0)
        return SQLITE_IOERR_WRITE;
    if (left > 0)
        g_writesLeft.store(left - 1);
    return Real(f)->pMethods->xWrite(Real(f), b, n, o);
}
int Truncate(sqlite3_file* f, sqlite3_int64 s)
{
    return Real(f)->pMethods->xTruncate(Real(f), s);
}
int Sync(sqlite3_file* f, int fl)
{
    return g_writesLeft.load() == 0 ? SQLITE_IOERR_FSYNC : Real(f)->pMethods->xSync(Real(f), fl);
}
int FileSize(sqlite3_file* f, sqlite3_int64* s)
{
    return Real(f)->pMethods->xFileSize(Real(f), s);
}
int Lock(sqlite3_file* f, int l)
{
    return Real(f)->pMethods->xLock(Real(f), l);
}
int Unlock(sqlite3_file* f, int l)
{
    return Real(f)->pMethods->xUnlock(Real(f), l);
}
int CheckReserved(sqlite3_file* f, int* r)
{
    return Real(f)->pMethods->xCheckReservedLock(Real(f), r);
}
int FileControl(sqlite3_file* f, int op, void* a)
{
    return Real(f)->pMethods->xFileControl(Real(f), op, a);
}
int SectorSize(sqlite3_file* f)
{
    return Real(f)->pMethods->xSectorSize(Real(f));
}
int DeviceChar(sqlite3_file* f)
{
    return Real(f)->pMethods->xDeviceCharacteristics(Real(f));
}
int ShmMap(sqlite3_file* f, int p, int s, int e, void volatile** o)
{
    return Real(f)->pMethods->xShmMap(Real(f), p, s, e, o);
}
int ShmLock(sqlite3_file* f, int o, int n, int fl)
{
    return Real(f)->pMethods->xShmLock(Real(f), o, n, fl);
}
void ShmBarrier(sqlite3_file* f)
{
    Real(f)->pMethods->xShmBarrier(Real(f));
}
int ShmUnmap(sqlite3_file* f, int d)
{
    return Real(f)->pMethods->xShmUnmap(Real(f), d);
}

const sqlite3_io_methods kMethods = {
    2,           Close,      Read,       Write,  Truncate, Sync,       FileSize, Lock,    Unlock,  CheckReserved,
    FileControl, SectorSize, DeviceChar, ShmMap, ShmLock,  ShmBarrier, ShmUnmap, nullptr, nullptr,
};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* f, int flags, int* outFlags)
{
    File* file = reinterpret_cast<File*>(f);
    file->real = reinterpret_cast<sqlite3_file*>(file + 1);
    file->base.pMethods = nullptr;
    if (g_readOnly.load() && (flags & SQLITE_OPEN_MAIN_DB)) {
        flags &= ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        flags |= SQLITE_OPEN_READONLY;
    }
    const int rc = g_real->xOpen(g_real, name, file->real, flags, outFlags);
    if (rc == SQLITE_OK)
        file->base.pMethods = &kMethods;
    return rc;
}

}  // namespace

void Register()
{
    static bool done = false;
    if (done)
        return;
    g_real = sqlite3_vfs_find(nullptr);
    std::memcpy(&g_vfs, g_real, sizeof g_vfs);
    g_vfs.zName = "faulty";
    g_vfs.szOsFile = int(sizeof(File)) + g_real->szOsFile;
    g_vfs.xOpen = Open;
    g_vfs.pNext = nullptr;
    sqlite3_vfs_register(&g_vfs, 0);
    done = true;
}

void FailWritesAfter(int writes)
{
    g_writesLeft.store(writes);
}

void SetReadOnly(bool readOnly)
{
    g_readOnly.store(readOnly);
}

}  // namespace BrevView::test::faulty
