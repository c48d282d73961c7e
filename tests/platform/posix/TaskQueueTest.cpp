#include <gtest/gtest.h>

#include "platform/posix/TaskQueue.h"
#include "support/QueueContract.h"

namespace quorvel {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(TaskQueue, QueueContract, TaskQueue);

}  // namespace
}  // namespace quorvel
