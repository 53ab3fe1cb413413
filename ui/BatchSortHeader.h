#pragma once

#include "intake/BatchOrder.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <thread>

class AppDelegate;
class BatchTableModel;
class QHeaderView;

// The list view's column headers sort the batch: a click on Name, Size or Modified sorts by
// it (a second click turns the order round), the tick column goes back to the order of
// adding, and the header's menu offers every order, capture date included. The batch itself
// is reordered, so the thumbnail view, the preview, the running number and the run follow.
// Capture dates are read off the window's thread; the batch is put in order when they are in,
// unless it changed meanwhile.
class BatchSortHeader : public QObject {
  Q_OBJECT
public:
  // canSort says whether the batch may change now (no add run going).
  BatchSortHeader(AppDelegate *delegate, QHeaderView *header, BatchTableModel *model,
                  std::function<bool()> canSort, QObject *parent = nullptr);
  ~BatchSortHeader() override;

  void sortBy(BatchOrder::Key key, bool descending);
  BatchOrder::Key key() const { return key_; }
  bool descending() const { return descending_; }
  // The column that shows the order (-1 for capture date, which has none).
  static int columnForKey(BatchOrder::Key key);

Q_SIGNALS:
  // The batch is in its new order.
  void sorted();

private:
  void sectionClicked(int column);
  void showMenu(const QPoint &position);
  void apply(const QList<std::shared_ptr<class PhotoFile>> &before,
             const QList<std::shared_ptr<class PhotoFile>> &after);
  void showIndicator();

  AppDelegate *delegate_;
  QPointer<QHeaderView> header_;
  BatchTableModel *model_;
  std::function<bool()> canSort_;
  BatchOrder::Key key_ = BatchOrder::Key::Added;
  bool descending_ = false;
  std::thread worker_;
  quint64 generation_ = 0;
};
