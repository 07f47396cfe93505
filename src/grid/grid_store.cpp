#include "grid/grid_store.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <QDataStream>
#include <QIODevice>
#include <QVariant>

#include "automation/runtime_error.h"

namespace BrevView::grid {
namespace {

QByteArray StyleKey(const CellStyle& s)
{
    return QByteArray(reinterpret_cast<const char*>(&s.fore), sizeof s.fore) +
           QByteArray(reinterpret_cast<const char*>(&s.back), sizeof s.back) +
           QByteArray(reinterpret_cast<const char*>(&s.fontName), sizeof s.fontName) +
           QByteArray(reinterpret_cast<const char*>(&s.fontSize), sizeof s.fontSize) + QByteArray(1, char(s.bold)) +
           QByteArray(1, char(s.italic)) + QByteArray(1, char(s.underline)) + QByteArray(1, char(s.alignment));
}

// A text as QDataStream writes it (a byte count, then UTF-16), read without trusting the
// count: a count the remaining data cannot hold fails before anything is allocated.
bool ReadText(QDataStream& in, QString* out)
{
    quint32 bytes = 0;
    in >> bytes;
    if (in.status() != QDataStream::Ok)
        return false;
    if (bytes == 0xFFFFFFFFu) {
        *out = QString();
        return true;
    }
    if (bytes % 2 != 0 || (in.device() && qint64(bytes) > in.device()->bytesAvailable()))
        return false;
    QByteArray raw(qsizetype(bytes), Qt::Uninitialized);
    if (in.readRawData(raw.data(), int(bytes)) != int(bytes))
        return false;
    QString text(qsizetype(bytes / 2), Qt::Uninitialized);
    const bool big = in.byteOrder() == QDataStream::BigEndian;
    for (quint32 i = 0; i < bytes / 2; ++i) {
        const auto hi = static_cast<unsigned char>(raw[2 * qsizetype(i) + (big ? 0 : 1)]);
        const auto lo = static_cast<unsigned char>(raw[2 * qsizetype(i) + (big ? 1 : 0)]);
        text[qsizetype(i)] = QChar(char16_t((hi << 8) | lo));
    }
    *out = text;
    return true;
}

void WriteVariant(QDataStream& out, const automation::Variant& v)
{
    using automation::VarType;
    out << qint8(v.type());
    switch (v.type()) {
    case VarType::Empty:
    case VarType::Null:
        break;
    case VarType::Boolean:
        out << v.boolValue();
        break;
    case VarType::Long:
        out << v.longValue();
        break;
    case VarType::Double:
        out << v.doubleValue();
        break;
    case VarType::Currency:
        out << v.currencyValue().ticks();
        break;
    case VarType::Date:
        out << v.dateValue().serial();
        break;
    case VarType::String:
        out << v.stringValue();
        break;
    }
}

bool ReadVariant(QDataStream& in, automation::Variant* v)
{
    using automation::VarType;
    qint8 t = 0;
    in >> t;
    switch (VarType(t)) {
    case VarType::Empty:
        *v = automation::Variant();
        return true;
    case VarType::Null:
        *v = automation::Variant::Null();
        return true;
    case VarType::Boolean: {
        bool b = false;
        in >> b;
        *v = automation::Variant(b);
        return true;
    }
    case VarType::Long: {
        qint32 l = 0;
        in >> l;
        *v = automation::Variant(l);
        return true;
    }
    case VarType::Double: {
        double d = 0;
        in >> d;
        *v = automation::Variant(d);
        return true;
    }
    case VarType::Currency: {
        qint64 c = 0;
        in >> c;
        *v = automation::Variant(automation::Currency::FromTicks(c));
        return true;
    }
    case VarType::Date: {
        double d = 0;
        in >> d;
        *v = automation::Variant(automation::Date::FromSerial(d));
        return true;
    }
    case VarType::String: {
        QString s;
        if (!ReadText(in, &s))
            return false;
        *v = automation::Variant(s);
        return true;
    }
    }
    return false;
}

// Copies ASCII bytes as UTF-16 units, eight at a time where it can; false at the first byte
// that is not ASCII (with `out` written only partly).
bool WidenAscii(const char* in, int n, char16_t* out)
{
    int i = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    for (; i + 8 <= n; i += 8) {
        quint64 eight = 0;
        std::memcpy(&eight, in + i, 8);
        if (eight & 0x8080808080808080ull)
            return false;
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(bytes, zero));
    }
#endif
    for (; i < n; ++i) {
        const auto c = static_cast<unsigned char>(in[i]);
        if (c >= 0x80)
            return false;
        out[i] = char16_t(c);
    }
    return true;
}

}  // namespace

bool GridStore::ReadText(QDataStream& in, QString* out)
{
    return grid::ReadText(in, out);
}

TextPool::TextPool()
{
    char16_t* unused = nullptr;
    Allocate(0, &unused);  // address 0: the empty text
}

quint32 TextPool::Allocate(quint32 length, char16_t** chars)
{
    const size_t units = size_t(length) + 2;
    // Addresses are 32 bits wide: the pool holds up to four billion units.
    if (units_.SlotsAfter(units) * units_.kBlock > 0xFFFFFFF0u)
        automation::Raise(automation::ErrOutOfMemory, QStringLiteral("flexGrid"));
    char16_t* p = nullptr;
    const size_t at = units_.Append(units, &p);
    p[0] = char16_t(length & 0xFFFF);
    p[1] = char16_t(length >> 16);
    *chars = p + 2;
    return quint32(at);
}

GridStore::GridStore()
{
    styles_.push_back(CellStyle{});
    styleIds_.insert(StyleKey(CellStyle{}), 0);
}

void GridStore::SetRows(int rows)
{
    ++generation_;
    if (rows < 0)
        automation::Raise(automation::ErrInvalidPropertyValue, QStringLiteral("flexGrid"),
                          QStringLiteral("Invalid Rows value %1").arg(rows));
    if (rows < rows_) {
        for (size_t i = Index(rows, 0); i < cellText_.size(); ++i)
            Release(cellText_[i]);
        ForgetLengths();
    }
    rows_ = rows;
    cellText_.resize(size_t(rows_) * size_t(cols_), 0);
    if (!cellStyle_.empty())
        cellStyle_.resize(cellText_.size(), 0);
    rowInfo_.resize(size_t(rows_));
    if (garbage_ > 4096 && garbage_ * 2 > pool_.size())
        CompactPool();
}

void GridStore::SetCols(int cols)
{
    ++generation_;
    if (cols < 0)
        automation::Raise(automation::ErrInvalidPropertyValue, QStringLiteral("flexGrid"),
                          QStringLiteral("Invalid Cols value %1").arg(cols));
    if (cols == cols_)
        return;
    std::vector<quint32> text(size_t(rows_) * size_t(cols), 0);
    std::vector<quint16> style(cellStyle_.empty() ? 0 : text.size(), 0);
    const int keep = std::min(cols, cols_);
    for (int r = 0; r < rows_; ++r) {
        for (int c = 0; c < keep; ++c) {
            text[size_t(r) * size_t(cols) + size_t(c)] = cellText_[Index(r, c)];
            if (!style.empty())
                style[size_t(r) * size_t(cols) + size_t(c)] = cellStyle_[Index(r, c)];
        }
    }
    cellText_.swap(text);
    cellStyle_.swap(style);
    cols_ = cols;
    colInfo_.resize(size_t(cols_));
    ForgetLengths();
    CompactPool();
}

void GridStore::InsertRow(int row)
{
    ++generation_;
    if (row < 0 || row > rows_)
        automation::Raise(automation::ErrInvalidArrayIndex, QStringLiteral("flexGrid"),
                          QStringLiteral("Invalid row %1 to insert at").arg(row));
    cellText_.insert(cellText_.begin() + std::ptrdiff_t(size_t(row) * size_t(cols_)), size_t(cols_), 0u);
    if (!cellStyle_.empty())
        cellStyle_.insert(cellStyle_.begin() + std::ptrdiff_t(size_t(row) * size_t(cols_)), size_t(cols_), quint16(0));
    rowInfo_.insert(rowInfo_.begin() + row, RowInfo{});
    ++rows_;
    // The sampled rows at or after it move down with it.
    if (!lengthsDirty_) {
        for (LengthSamples& samples : lengths_)
            for (std::vector<int>& sampled : samples.rowsByLength)
                for (int& r : sampled)
                    r += r >= row ? 1 : 0;
    }
}

quint32 GridStore::AddText(const QString& text)
{
    if (text.isEmpty())
        return 0;
    char16_t* chars = nullptr;
    const quint32 at = pool_.Allocate(quint32(text.size()), &chars);
    // constData, not utf16: for a literal's static text utf16() makes a terminated copy first.
    std::copy_n(reinterpret_cast<const char16_t*>(text.constData()), text.size(), chars);
    return at;
}

QString GridStore::Text(int row, int col) const
{
    const quint32 at = cellText_[Index(row, col)];
    if (at == 0)
        return QString();
    return QString(reinterpret_cast<const QChar*>(pool_.Chars(at)), qsizetype(pool_.Length(at)));
}

void GridStore::SetText(int row, int col, const QString& text)
{
    ++generation_;
    quint32& ref = cellText_[Index(row, col)];
    Release(ref);
    ref = AddText(text);
    NoteLength(row, col, int(text.size()));
    if (garbage_ > 65536 && garbage_ * 2 > pool_.size())
        CompactPool();
}

void GridStore::SetTextUtf8(int row, int col, const char* text, int length)
{
    ++generation_;
    quint32& ref = cellText_[Index(row, col)];
    Release(ref);
    ref = 0;
    if (length <= 0)
        return;
    // ASCII (most texts) is widened straight into the pool; anything else is decoded and
    // takes the same room, since UTF-8 never has fewer bytes than UTF-16 has units.
    char16_t* chars = nullptr;
    ref = pool_.Allocate(quint32(length), &chars);
    if (!WidenAscii(text, length, chars)) {
        const QString decoded = QString::fromUtf8(text, length);
        const auto units = std::min<qsizetype>(decoded.size(), length);
        std::copy_n(reinterpret_cast<const char16_t*>(decoded.constData()), units, chars);
        pool_.Shorten(ref, quint32(units));
        // The room past the decoded units is no cell's: counted now, as a released text's is.
        garbage_ += size_t(length - units);
        if (units == 0) {
            garbage_ += 2;
            ref = 0;
        }
    }
    NoteLength(row, col, ref == 0 ? 0 : int(pool_.Length(ref)));
    if (garbage_ > 65536 && garbage_ * 2 > pool_.size())
        CompactPool();
}

void GridStore::ForgetLengths()
{
    lengths_.clear();
    lengthsDirty_ = true;
    // A grid emptied for a new fill (Rows = FixedRows) is sampled again at once, so that the
    // fill keeps the samples as it writes.
    if (rows_ <= 64)
        RebuildLengths();
}

void GridStore::RebuildLengths() const
{
    lengths_.assign(size_t(cols_), LengthSamples{});
    lengthsDirty_ = false;
    for (int r = 0; r < rows_; ++r) {
        for (int c = 0; c < cols_; ++c)
            NoteLength(r, c, TextLength(r, c));
    }
}

const GridStore::LengthSamples& GridStore::Lengths(int col, bool rebuild) const
{
    if (rebuild || lengthsDirty_ || lengths_.size() != size_t(cols_))
        RebuildLengths();
    return lengths_[size_t(col)];
}

void GridStore::CompactPool()
{
    TextPool fresh;
    for (quint32& ref : cellText_) {
        if (ref == 0)
            continue;
        const quint32 n = pool_.Length(ref);
        char16_t* chars = nullptr;
        const quint32 at = fresh.Allocate(n, &chars);
        std::copy_n(pool_.Chars(ref), n, chars);
        ref = at;
    }
    pool_ = std::move(fresh);
    garbage_ = 0;
}

void GridStore::EnsureStyles()
{
    if (cellStyle_.empty())
        cellStyle_.assign(cellText_.size(), 0);
}

quint16 GridStore::Intern(const CellStyle& style)
{
    const QByteArray key = StyleKey(style);
    auto it = styleIds_.constFind(key);
    if (it != styleIds_.constEnd())
        return it.value();
    if (styles_.size() >= 0xFFFF)
        automation::Raise(automation::ErrOutOfMemory, QStringLiteral("flexGrid"),
                          QStringLiteral("Too many different cell styles"));
    const quint16 id = quint16(styles_.size());
    styles_.push_back(style);
    styleIds_.insert(key, id);
    return id;
}

const CellStyle& GridStore::Style(int row, int col) const
{
    if (cellStyle_.empty())
        return styles_[0];
    return styles_[cellStyle_[Index(row, col)]];
}

void GridStore::ApplySetting(int setting, int row1, int col1, int row2, int col2, const QVariant& value)
{
    ++generation_;
    if (row1 > row2)
        std::swap(row1, row2);
    if (col1 > col2)
        std::swap(col1, col2);
    if (setting == flexcpText) {
        const QString text = value.toString();
        for (int r = row1; r <= row2; ++r)
            for (int c = col1; c <= col2; ++c)
                SetText(r, c, text);
        return;
    }
    qint32 fontIndex = -1;
    if (setting == flexcpFontName) {
        const QString name = value.toString();
        fontIndex = qint32(fontNames_.indexOf(name));
        if (fontIndex < 0) {
            fontNames_.append(name);
            fontIndex = qint32(fontNames_.size() - 1);
        }
    }
    auto change = [&](CellStyle s) {
        switch (setting) {
        case flexcpAlignment:
            s.alignment = qint8(value.toInt());
            break;
        case flexcpBackColor:
            s.back = value.toInt();
            break;
        case flexcpForeColor:
            s.fore = value.toInt();
            break;
        case flexcpFontName:
            s.fontName = fontIndex;
            break;
        case flexcpFontSize:
            s.fontSize = value.toFloat();
            break;
        case flexcpFontBold:
            s.bold = value.toBool() ? 1 : 0;
            break;
        case flexcpFontItalic:
            s.italic = value.toBool() ? 1 : 0;
            break;
        case flexcpFontUnderline:
            s.underline = value.toBool() ? 1 : 0;
            break;
        default:
            automation::Raise(automation::ErrInvalidPropertyValue, QStringLiteral("flexGrid"),
                              QStringLiteral("Cell setting %1 is not supported").arg(setting));
        }
        return s;
    };
    EnsureStyles();
    // Most blocks share a handful of styles: map each old id to its new id once, and
    // remember the mapping for the next block with the same setting and value. The same
    // setting and value row after row (a refresh colouring each row it adds) reads the
    // mapping from a table by old id, without making a key.
    if (lastSetting_ != setting || lastValue_ != value) {
        lastSetting_ = setting;
        lastValue_ = value;
        lastNext_.clear();
    }
    QByteArray valueKey;
    auto next = [&](quint16 old) {
        if (old < lastNext_.size() && lastNext_[old] >= 0)
            return quint16(lastNext_[old]);
        if (valueKey.isEmpty())
            valueKey = QByteArray::number(setting) + ':' + value.toString().toUtf8() + ':';
        const QByteArray key = valueKey + QByteArray::number(old);
        auto it = transitions_.constFind(key);
        if (it == transitions_.constEnd())
            it = transitions_.insert(key, Intern(change(styles_[old])));
        if (old >= lastNext_.size())
            lastNext_.resize(size_t(old) + 1, -1);
        lastNext_[old] = it.value();
        return it.value();
    };
    quint16 lastOld = 0xFFFF, lastNew = 0;
    for (int r = row1; r <= row2; ++r) {
        quint16* id = &cellStyle_[Index(r, col1)];
        for (int c = col1; c <= col2; ++c, ++id) {
            if (*id != lastOld) {
                lastOld = *id;
                lastNew = next(*id);
            }
            *id = lastNew;
        }
    }
}

QVariant GridStore::Setting(int setting, int row, int col) const
{
    const CellStyle& s = Style(row, col);
    switch (setting) {
    case flexcpText:
        return Text(row, col);
    case flexcpAlignment:
        return s.alignment < 0 ? Col(col).alignment : int(s.alignment);
    case flexcpBackColor:
        return s.back;
    case flexcpForeColor:
        return s.fore;
    case flexcpFontName:
        return FontName(s.fontName);
    case flexcpFontSize:
        return s.fontSize;
    case flexcpFontBold:
        return s.bold > 0;
    case flexcpFontItalic:
        return s.italic > 0;
    case flexcpFontUnderline:
        return s.underline > 0;
    default:
        automation::Raise(automation::ErrInvalidPropertyValue, QStringLiteral("flexGrid"),
                          QStringLiteral("Cell setting %1 is not supported").arg(setting));
    }
}

void GridStore::Write(QDataStream& out) const
{
    out << qint32(rows_) << qint32(cols_);
    out << quint32(fontNames_.size());
    for (const QString& name : fontNames_)
        out << name;
    out << quint32(styles_.size());
    for (const CellStyle& s : styles_)
        out << s.fore << s.back << s.fontName << s.fontSize << s.bold << s.italic << s.underline << s.alignment;
    for (const ColInfo& c : colInfo_)
        out << c.width << c.hidden << c.alignment << c.dataType << c.format;
    for (const RowInfo& r : rowInfo_) {
        WriteVariant(out, r.data);
        out << r.height << r.outlineLevel << r.subtotal << r.collapsed;
    }
    const bool styled = !cellStyle_.empty();
    out << styled;
    for (int r = 0; r < rows_; ++r) {
        for (int c = 0; c < cols_; ++c) {
            out << Text(r, c);
            if (styled)
                out << cellStyle_[Index(r, c)];
        }
    }
}

bool GridStore::Read(QDataStream& in)
{
    GridStore fresh;
    qint32 rows = 0, cols = 0;
    in >> rows >> cols;
    if (in.status() != QDataStream::Ok || rows < 0 || cols < 0 || qint64(rows) * cols > (qint64(1) << 31))
        return false;
    // Every cell takes at least four bytes in the stream: refuse counts the data cannot hold
    // before allocating for them.
    if (in.device() && qint64(rows) * cols * 4 > in.device()->bytesAvailable())
        return false;
    quint32 fontCount = 0;
    in >> fontCount;
    if (in.status() != QDataStream::Ok || fontCount > 0xFFFF)
        return false;
    for (quint32 i = 0; i < fontCount; ++i) {
        QString name;
        if (!ReadText(in, &name))
            return false;
        fresh.fontNames_.append(name);
    }
    quint32 styleCount = 0;
    in >> styleCount;
    if (in.status() != QDataStream::Ok || styleCount == 0 || styleCount > 0xFFFF)
        return false;
    if (in.device() && qint64(styleCount) * 20 > in.device()->bytesAvailable())
        return false;
    fresh.styles_.clear();
    fresh.styleIds_.clear();
    fresh.transitions_.clear();
    for (quint32 i = 0; i < styleCount; ++i) {
        CellStyle s;
        in >> s.fore >> s.back >> s.fontName >> s.fontSize >> s.bold >> s.italic >> s.underline >> s.alignment;
        if (s.fontName >= fresh.fontNames_.size())
            return false;
        fresh.styleIds_.insert(StyleKey(s), quint16(fresh.styles_.size()));
        fresh.styles_.push_back(s);
    }
    fresh.cols_ = cols;
    if (in.device() && qint64(cols) * 17 > in.device()->bytesAvailable())
        return false;
    fresh.colInfo_.resize(size_t(cols));
    for (ColInfo& c : fresh.colInfo_) {
        in >> c.width >> c.hidden >> c.alignment >> c.dataType;
        if (!ReadText(in, &c.format))
            return false;
    }
    fresh.rows_ = rows;
    if (in.device() && qint64(rows) * 9 > in.device()->bytesAvailable())
        return false;
    fresh.rowInfo_.resize(size_t(rows));
    for (RowInfo& r : fresh.rowInfo_) {
        if (!ReadVariant(in, &r.data))
            return false;
        in >> r.height >> r.outlineLevel >> r.subtotal >> r.collapsed;
        if (in.status() != QDataStream::Ok)
            return false;
    }
    bool styled = false;
    in >> styled;
    fresh.cellText_.assign(size_t(rows) * size_t(cols), 0);
    if (styled)
        fresh.cellStyle_.assign(fresh.cellText_.size(), 0);
    QString text;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            if (!ReadText(in, &text))
                return false;
            fresh.cellText_[fresh.Index(r, c)] = fresh.AddText(text);
            if (styled) {
                quint16 id = 0;
                in >> id;
                if (id >= fresh.styles_.size())
                    return false;
                fresh.cellStyle_[fresh.Index(r, c)] = id;
            }
        }
        if (in.status() != QDataStream::Ok)
            return false;
    }
    const quint64 generation = generation_ + 1;
    *this = std::move(fresh);
    generation_ = generation;
    ForgetLengths();
    return true;
}

}  // namespace BrevView::grid
