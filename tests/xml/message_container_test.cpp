#include "krdcmmn/xml/message_container.h"

#include "gtest/gtest.h"

namespace {

using kr::MessageContainer;

TEST(MessageContainer, LookupEndsInChainsThatAreRings) {
  // A tail of `tail` containers leads into a ring of `ring`.
  for (int ring = 1; ring <= 5; ++ring) {
    for (int tail = 0; tail <= 3; ++tail) {
      MessageContainer chain[8];
      for (int i = 0; i + 1 < tail + ring; ++i) {
        chain[i].attach(&chain[i + 1]);
      }
      chain[tail + ring - 1].attach(&chain[tail]);
      EXPECT_EQ(chain[0].find("none"), nullptr);
      chain[tail + ring - 1].attach(nullptr);
      EXPECT_EQ(chain[0].find("none"), nullptr);
    }
  }
  EXPECT_EQ(MessageContainer().find(nullptr), nullptr);
}

TEST(MessageContainer, ProcessHasOne) {
  EXPECT_EQ(&SystemMessageContainer(), &SystemMessageContainer());
}

}  // namespace
