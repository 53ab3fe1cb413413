#include "platform/ContainerDate.h"

#include <QBuffer>
#include <QFile>
#include <QRegularExpression>
#include <QtEndian>

#include <algorithm>

namespace platform::ContainerDate {
namespace {

// Seconds from the boxes' epoch, 1904-01-01 UTC, to 1970-01-01 UTC.
constexpr qint64 kEpochDifference = 2082844800;
// Boxes read whole: anything bigger is not the small metadata box it claims to be.
constexpr qint64 kMaxReadBox = 1 << 20;
// A damaged file must not send the walk round for ever.
constexpr int kMaxBoxes = 4096;

struct Box {
  QByteArray type;
  qint64 payload = 0; // offset of the payload
  qint64 end = 0;     // offset just past the box
};

// The boxes laid end to end in [from, to); stops at the first header that does not fit.
QList<Box> boxesIn(QIODevice &device, qint64 from, qint64 to) {
  QList<Box> boxes;
  qint64 at = from;
  while (at + 8 <= to && boxes.size() < kMaxBoxes) {
    if (!device.seek(at))
      break;
    const QByteArray header = device.read(16);
    if (header.size() < 8)
      break;
    const auto *bytes = reinterpret_cast<const uchar *>(header.constData());
    qint64 size = qFromBigEndian<quint32>(bytes);
    qint64 headerSize = 8;
    if (size == 1) {
      if (header.size() < 16)
        break;
      size = qint64(qFromBigEndian<quint64>(bytes + 8));
      headerSize = 16;
    } else if (size == 0) {
      size = to - at; // runs to the end of its parent
    }
    if (size < headerSize)
      break;
    // A box cut short by the end of a damaged file keeps what is there.
    size = std::min(size, to - at);
    boxes.append({header.mid(4, 4), at + headerSize, at + size});
    at += size;
  }
  return boxes;
}

const Box *find(const QList<Box> &boxes, const char *type) {
  for (const Box &box : boxes)
    if (box.type == type)
      return &box;
  return nullptr;
}

QByteArray payloadOf(QIODevice &device, const Box &box) {
  const qint64 size = box.end - box.payload;
  if (size > kMaxReadBox || !device.seek(box.payload))
    return {};
  return device.read(size);
}

// The movie header's creation time; 0 means the writer left it unset.
std::optional<Found> movieHeaderDate(QIODevice &device, const Box &mvhd) {
  const QByteArray payload = payloadOf(device, mvhd);
  const auto *bytes = reinterpret_cast<const uchar *>(payload.constData());
  qint64 seconds = 0;
  if (payload.size() >= 12 && bytes[0] == 1)
    seconds = qint64(qFromBigEndian<quint64>(bytes + 4));
  else if (payload.size() >= 8 && bytes[0] == 0)
    seconds = qFromBigEndian<quint32>(bytes + 4);
  if (seconds <= kEpochDifference)
    return std::nullopt;
  const QDateTime utc = QDateTime::fromSecsSinceEpoch(seconds - kEpochDifference, Qt::UTC);
  const QDateTime local = utc.toLocalTime();
  Found found;
  found.wallClock = QDateTime(local.date(), local.time());
  return found;
}

// "2023-07-01T10:20:30+0200" (also "+02:00", "Z", or fractions of a second).
std::optional<Found> keyDate(const QString &text) {
  static const QRegularExpression pattern(QStringLiteral(
      R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.\d+)?(Z|([+-])(\d{2}):?(\d{2}))?$)"));
  const QRegularExpressionMatch m = pattern.match(text.trimmed());
  if (!m.hasMatch())
    return std::nullopt;
  const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
  const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt());
  if (!date.isValid() || !time.isValid())
    return std::nullopt;
  Found found;
  found.wallClock = QDateTime(date, time);
  found.fromQuickTimeKeys = true;
  if (m.captured(7) == QLatin1String("Z"))
    found.zoneOffset = QStringLiteral("+00:00");
  else if (m.hasCaptured(8))
    found.zoneOffset = m.captured(8) + m.captured(9) + QLatin1Char(':') + m.captured(10);
  return found;
}

// The QuickTime metadata box: a handler, the keys ("mdta" names), and an item list whose
// items are typed by the 1-based index of their key.
std::optional<Found> quickTimeKeysDate(QIODevice &device, const Box &meta) {
  // QuickTime's meta box has no version and flags, ISO's has four bytes of them.
  qint64 from = meta.payload;
  if (device.seek(from + 4) && device.read(4) != "hdlr")
    from += 4;
  const QList<Box> children = boxesIn(device, from, meta.end);
  const Box *keysBox = find(children, "keys");
  const Box *itemsBox = find(children, "ilst");
  if (!keysBox || !itemsBox)
    return std::nullopt;

  const QByteArray keys = payloadOf(device, *keysBox);
  if (keys.size() < 8)
    return std::nullopt;
  const auto *bytes = reinterpret_cast<const uchar *>(keys.constData());
  const quint32 count = qFromBigEndian<quint32>(bytes + 4);
  quint32 wanted = 0;
  qsizetype at = 8;
  for (quint32 index = 1; index <= count && at + 8 <= keys.size(); ++index) {
    const quint32 size = qFromBigEndian<quint32>(bytes + at);
    if (size < 8 || at + qsizetype(size) > keys.size())
      break;
    if (keys.mid(at + 8, size - 8) == "com.apple.quicktime.creationdate") {
      wanted = index;
      break;
    }
    at += size;
  }
  if (wanted == 0)
    return std::nullopt;

  for (const Box &item : boxesIn(device, itemsBox->payload, itemsBox->end)) {
    if (qFromBigEndian<quint32>(item.type.constData()) != wanted)
      continue;
    const QList<Box> values = boxesIn(device, item.payload, item.end);
    const Box *data = find(values, "data");
    if (!data)
      return std::nullopt;
    const QByteArray value = payloadOf(device, *data);
    // Type indicator and locale come first; 1 is UTF-8 text.
    if (value.size() <= 8 || qFromBigEndian<quint32>(value.constData()) != 1)
      return std::nullopt;
    return keyDate(QString::fromUtf8(value.mid(8)));
  }
  return std::nullopt;
}

} // namespace

std::optional<Found> read(QIODevice &device) {
  if (!device.isOpen() || device.isSequential())
    return std::nullopt;
  const qint64 size = device.size();
  const QList<Box> top = boxesIn(device, 0, size);
  if (top.isEmpty() || top.first().type != "ftyp")
    return std::nullopt;
  const Box *moov = find(top, "moov");
  if (!moov)
    return std::nullopt;
  const QList<Box> movie = boxesIn(device, moov->payload, moov->end);
  if (const Box *meta = find(movie, "meta"))
    if (std::optional<Found> found = quickTimeKeysDate(device, *meta))
      return found;
  if (const Box *mvhd = find(movie, "mvhd"))
    return movieHeaderDate(device, *mvhd);
  return std::nullopt;
}

std::optional<Found> readFile(const QString &path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return std::nullopt;
  return read(file);
}

std::optional<Found> readBuffer(const QByteArray &bytes) {
  QBuffer buffer;
  buffer.setData(bytes);
  if (!buffer.open(QIODevice::ReadOnly))
    return std::nullopt;
  return read(buffer);
}

} // namespace platform::ContainerDate
