#pragma once

#include <QByteArrayView>

#include <memory>

// The bytes of an encoded file, left where whatever made them keeps them (an encoder's
// buffer, the metadata writer's memory), so a large file is written out without first being
// copied.
class EncodedFile {
public:
  EncodedFile() = default;
  // data and size stay valid for as long as owner lives.
  EncodedFile(std::shared_ptr<const void> owner, const char *data, qsizetype size)
      : owner_(std::move(owner)), data_(data), size_(size) {}

  QByteArrayView bytes() const { return QByteArrayView(data_, size_); }
  qsizetype size() const { return size_; }

private:
  std::shared_ptr<const void> owner_;
  const char *data_ = nullptr;
  qsizetype size_ = 0;
};
