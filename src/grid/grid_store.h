#pragma once
// The contents and formatting of an outline grid, built for a million rows: per
// cell a text reference into one shared text pool and a small style id; per row
// its data, height and outline state; per column its width and format. Appending
// a row is amortised O(1); styles are interned, so a range setting costs one id
// write per cell and no object.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "automation/block_buffer.h"
#include "automation/variant.h"

namespace BrevView::grid {

// The cell settings of the grid's Cell property.
enum CellSetting : int {
    flexcpText = 0,
    flexcpAlignment = 2,
    flexcpBackColor = 6,
    flexcpForeColor = 7,
    flexcpFontName = 11,
    flexcpFontSize = 12,
    flexcpFontBold = 13,
    flexcpFontItalic = 14,
    flexcpFontUnderline = 15,
};

// Cell and column alignments.
enum Alignment : int {
    flexAlignLeftTop = 0,
    flexAlignLeftCenter = 1,
    flexAlignLeftBottom = 2,
    flexAlignCenterTop = 3,
    flexAlignCenterCenter = 4,
    flexAlignCenterBottom = 5,
    flexAlignRightTop = 6,
    flexAlignRightCenter = 7,
    flexAlignRightBottom = 8,
    flexAlignGeneral = 9,  // left for text, right for numbers, vertically centred
};

// Column data types.
enum DataType : int {
    flexDTEmpty = 0,
    flexDTLong = 3,
    flexDTDouble = 5,
    flexDTCurrency = 6,
    flexDTDate = 7,
    flexDTString = 8,
    flexDTBoolean = 11,
};

struct CellStyle {
    qint32 fore = -1;  // COLORREF, -1: the grid's
    qint32 back = -1;
    qint32 fontName = -1;  // index into the style table's font names, -1: the grid's
    float fontSize = 0;    // 0: the grid's
    qint8 bold = -1, italic = -1, underline = -1;
    qint8 alignment = -1;  // -1: the column's

    bool operator==(const CellStyle& o) const
    {
        return fore == o.fore && back == o.back && fontName == o.fontName && fontSize == o.fontSize && bold == o.bold &&
               italic == o.italic && underline == o.underline && alignment == o.alignment;
    }
};

struct RowInfo {
    automation::Variant data;
    qint32 height = -1;  // twips; -1: the default height
    qint16 outlineLevel = 0;
    bool subtotal = false;
    bool collapsed = false;
};

struct ColInfo {
    qint32 width = -1;  // twips; -1: the default width
    bool hidden = false;
    qint32 alignment = flexAlignGeneral;
    qint32 dataType = flexDTEmpty;
    QString format;
    bool fitText = false;  // drawn at least as wide as its widest text (not in snapshots)
};

// The grid's texts, one after another: [length low][length high][chars...] each, found by
// an address (0 is the empty text). The texts never move once written: a grid that grows
// to a million rows writes each unit once and copies none of them again.
class TextPool {
public:
    TextPool();

    // Room for a text of `length` units; returns its address, `*chars` the units to fill.
    quint32 Allocate(quint32 length, char16_t** chars);
    quint32 Length(quint32 address) const
    {
        const char16_t* p = units_.At(address);
        return quint32(p[0]) | (quint32(p[1]) << 16);
    }
    const char16_t* Chars(quint32 address) const { return units_.At(address) + 2; }
    // The text at `address` keeps only its first `length` units (no more than it has).
    void Shorten(quint32 address, quint32 length)
    {
        char16_t* p = units_.At(address);
        p[0] = char16_t(length & 0xFFFF);
        p[1] = char16_t(length >> 16);
    }
    // The units addressed so far (the measure of how much of the pool is garbage).
    size_t size() const { return units_.size(); }

private:
    platform::BlockBuffer<char16_t> units_;
};

class GridStore {
public:
    GridStore();

    int rows() const { return rows_; }
    int cols() const { return cols_; }
    void SetRows(int rows);
    void SetCols(int cols);
    // Inserts an empty row before `row` (rows() appends); the cost is the rows after it.
    void InsertRow(int row);

    QString Text(int row, int col) const;
    bool TextIsEmpty(int row, int col) const { return cellText_[Index(row, col)] == 0; }
    // The text's length in UTF-16 units, without making the text.
    int TextLength(int row, int col) const
    {
        const quint32 at = cellText_[Index(row, col)];
        return at == 0 ? 0 : int(pool_.Length(at));
    }
    void SetText(int row, int col, const QString& text);
    // The same from UTF-8, decoded straight into the text pool.
    void SetTextUtf8(int row, int col, const char* text, int length);

    RowInfo& Row(int row) { return rowInfo_[size_t(row)]; }
    const RowInfo& Row(int row) const { return rowInfo_[size_t(row)]; }
    ColInfo& Col(int col) { return colInfo_[size_t(col)]; }
    const ColInfo& Col(int col) const { return colInfo_[size_t(col)]; }

    const CellStyle& Style(int row, int col) const;
    // Changes one setting over a block of cells; `value` is a colour, a bool, an
    // alignment or (for the font name) a text.
    void ApplySetting(int setting, int row1, int col1, int row2, int col2, const QVariant& value);
    QVariant Setting(int setting, int row, int col) const;
    QString FontName(qint32 index) const
    {
        return index >= 0 && index < fontNames_.size() ? fontNames_[index] : QString();
    }

    // Counts every change of texts, rows, columns or styles, so that what is worked out from
    // them (how wide a column's texts are) is worked out again only after one. Column
    // settings changed through Col() count when the grid calls Touch().
    quint64 generation() const { return generation_; }
    void Touch() { ++generation_; }

    // For each column, a few rows of each text length, kept up to date as texts are written:
    // the widest texts of a column of numbers are among its longest, and a column a million
    // rows long is measured on these without a pass over its rows. Rows may hold other texts
    // since; their length is read again when they are measured.
    struct LengthSamples {
        int longest = 0;
        std::vector<std::vector<int>> rowsByLength;  // [length]: up to kSamplesPerLength rows
    };
    static constexpr size_t kSamplesPerLength = 8;
    // `rebuild` makes them anew from the rows first (when the sampled rows no longer hold
    // texts of their lengths).
    const LengthSamples& Lengths(int col, bool rebuild = false) const;

    // Everything, for snapshots.
    void Write(QDataStream& out) const;
    // Reads what Write wrote; false (and this store untouched) when the data is damaged.
    bool Read(QDataStream& in);
    // A text written with QDataStream's operator<<, read with its length checked first.
    static bool ReadText(QDataStream& in, QString* out);

private:
    size_t Index(int row, int col) const { return size_t(row) * size_t(cols_) + size_t(col); }
    quint32 AddText(const QString& text);
    void Release(quint32 ref) { garbage_ += ref == 0 ? 0 : 2 + pool_.Length(ref); }
    void CompactPool();
    quint16 Intern(const CellStyle& style);
    void EnsureStyles();

    void NoteLength(int row, int col, int length) const
    {
        if (lengthsDirty_ || length <= 0)
            return;
        LengthSamples& samples = lengths_[size_t(col)];
        if (size_t(length) >= samples.rowsByLength.size())
            samples.rowsByLength.resize(size_t(length) + 1);
        std::vector<int>& rows = samples.rowsByLength[size_t(length)];
        if (rows.size() < kSamplesPerLength)
            rows.push_back(row);
        samples.longest = std::max(samples.longest, length);
    }
    // Dropped and made again from the rows when next asked for.
    void ForgetLengths();
    void RebuildLengths() const;

    int rows_ = 0;
    int cols_ = 0;
    quint64 generation_ = 0;
    mutable std::vector<LengthSamples> lengths_;
    mutable bool lengthsDirty_ = true;
    std::vector<quint32> cellText_;  // address in pool_, 0 = empty
    TextPool pool_;
    size_t garbage_ = 0;              // pool units no cell refers to
    std::vector<quint16> cellStyle_;  // empty until the first style is set
    std::vector<CellStyle> styles_;   // id 0 is the default style
    QHash<QByteArray, quint16> styleIds_;
    // (old style, setting, value) -> new style, so that a setting repeated row after row
    // costs one look-up and no interning.
    QHash<QByteArray, quint16> transitions_;
    // The transitions of the last (setting, value), by old style id (-1: not known yet).
    int lastSetting_ = -1;
    QVariant lastValue_;
    std::vector<qint32> lastNext_;
    QStringList fontNames_;
    std::vector<RowInfo> rowInfo_;
    std::vector<ColInfo> colInfo_;
};

}  // namespace BrevView::grid
