#include "intake/BatchOrder.h"

#include "intake/PhotoFile.h"

#include <QCollator>
#include <QDateTime>

#include <algorithm>
#include <limits>
#include <thread>
#include <vector>

namespace BatchOrder {

QStringList keyNames() {
  return {QStringLiteral("added"), QStringLiteral("name"), QStringLiteral("taken"),
          QStringLiteral("modified"), QStringLiteral("size")};
}

QString keyName(Key key) {
  return keyNames().at(int(key));
}

bool keyFromName(const QString &text, Key *key) {
  const QStringList names = keyNames();
  for (int i = 0; i < names.size(); ++i) {
    if (names.at(i).compare(text, Qt::CaseInsensitive) == 0) {
      *key = Key(i);
      return true;
    }
  }
  return false;
}

namespace {

const QCollator &naturalCollator() {
  static const QCollator collator = [] {
    QCollator c{QLocale(QLocale::English)};
    c.setNumericMode(true);
    c.setCaseSensitivity(Qt::CaseInsensitive);
    return c;
  }();
  return collator;
}

// Capture dates of every photo, read on a few threads: each read opens a file.
std::vector<qint64> takenDates(const QList<std::shared_ptr<PhotoFile>> &batch) {
  std::vector<qint64> dates(size_t(batch.size()), 0);
  const size_t count = dates.size();
  const size_t workers =
      std::max<size_t>(1, std::min<size_t>(std::thread::hardware_concurrency(), count / 16 + 1));
  std::vector<std::thread> threads;
  for (size_t w = 0; w < workers; ++w) {
    threads.emplace_back([&, w] {
      for (size_t i = w; i < count; i += workers) {
        const QDateTime date = batch.at(qsizetype(i))->captureDateOfFile();
        // Without a date: the largest value, so last when ascending (descending flips it).
        dates[i] = date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::max();
      }
    });
  }
  for (std::thread &t : threads)
    t.join();
  return dates;
}

} // namespace

int compareNames(const QString &a, const QString &b) {
  const int byCollator = naturalCollator().compare(a, b);
  return byCollator != 0 ? byCollator : a.compare(b);
}

QList<std::shared_ptr<PhotoFile>> sorted(const QList<std::shared_ptr<PhotoFile>> &batch, Key key,
                                         bool descending) {
  // Sort positions, then ties fall back to the order of adding.
  std::vector<qsizetype> rows(size_t(batch.size()));
  for (size_t i = 0; i < rows.size(); ++i)
    rows[i] = qsizetype(i);
  const auto added = [&](qsizetype a, qsizetype b) {
    const quint64 x = batch.at(a)->addedOrder;
    const quint64 y = batch.at(b)->addedOrder;
    return x != y ? x < y : a < b;
  };
  std::vector<qint64> dates;
  if (key == Key::Taken)
    dates = takenDates(batch);
  // <0, 0, >0 by the key alone.
  const auto byKey = [&](qsizetype a, qsizetype b) -> int {
    const PhotoFile &x = *batch.at(a);
    const PhotoFile &y = *batch.at(b);
    switch (key) {
    case Key::Added:
      return 0;
    case Key::Name:
      return compareNames(x.fileName, y.fileName);
    case Key::Taken: {
      const qint64 dx = dates[size_t(a)];
      const qint64 dy = dates[size_t(b)];
      const qint64 none = std::numeric_limits<qint64>::max();
      if ((dx == none) != (dy == none))
        return dx == none ? (descending ? -1 : 1) : (descending ? 1 : -1);
      return dx < dy ? -1 : dx > dy ? 1 : 0;
    }
    case Key::Modified: {
      const qint64 dx = x.fileModifiedDate.isValid() ? x.fileModifiedDate.toMSecsSinceEpoch() : 0;
      const qint64 dy = y.fileModifiedDate.isValid() ? y.fileModifiedDate.toMSecsSinceEpoch() : 0;
      return dx < dy ? -1 : dx > dy ? 1 : 0;
    }
    case Key::Size:
      return x.fileSizeInBytes < y.fileSizeInBytes   ? -1
             : x.fileSizeInBytes > y.fileSizeInBytes ? 1
                                                     : 0;
    }
    return 0;
  };
  std::sort(rows.begin(), rows.end(), [&](qsizetype a, qsizetype b) {
    const int c = byKey(a, b);
    if (c != 0)
      return descending ? c > 0 : c < 0;
    // "As added" reversed is the batch backwards; other orders keep ties as added.
    return key == Key::Added && descending ? added(b, a) : added(a, b);
  });
  QList<std::shared_ptr<PhotoFile>> result;
  result.reserve(batch.size());
  for (qsizetype row : rows)
    result.append(batch.at(row));
  return result;
}

} // namespace BatchOrder
