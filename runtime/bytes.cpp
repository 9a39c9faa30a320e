#include "runtime/bytes.h"

namespace tarnwick {

Bytes::Bytes(ByteBuffer buffer)
    : shared_(buffer.empty() ? nullptr : std::make_shared<ByteBuffer>(std::move(buffer))) {}

ByteBuffer Bytes::release() && {
  const std::shared_ptr<ByteBuffer> shared = std::move(shared_);
  if (!shared) return {};
  return shared.use_count() == 1 ? std::move(*shared) : *shared;
}

}  // namespace tarnwick
