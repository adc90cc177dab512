#include <vector>

#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckBacklog.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// A side whose work is only to remember the keys it processed.
class RecordingSm : public ConfigCheckSmBase {
 public:
   RecordingSm() : ConfigCheckSmBase(checkerClock()) { initializedIs(true); }
   void add(const SmCodefKey & key) { enqueue(key); }
   void processSmCodefKey(const SmCodefKey & key) {
      seen.push_back(key.name().stdString());
      Kiv::System::virtualTimeAdvance(costPerKey);
      if (onKey) onKey(key);
   }
   std::uint64_t processBacklog(const Kiv::Seconds & startTime) override {
      return doProcessConfigCheckBacklog(this, startTime);
   }
   std::vector< std::string > seen;
   Kiv::Seconds costPerKey = 0;
   std::function< void(const SmCodefKey &) > onKey;
};

SmCodefKey key(int i) { return SmCodefKey(Kiv::Name("k" + std::to_string(i)), "p"); }

class BacklogTest : public CheckerTestBase {
 protected:
   Kiv::Ptr< RecordingSm > sm = Kiv::kivNew< RecordingSm >();
};

TEST_F(BacklogTest, SlicesYieldAtATenthEntryPastTheDeadlineAndResumeAtTheBookmark) {
   for (int i = 1; i <= 25; ++i) sm->add(key(i));
   sm->costPerKey = sm->backlogQuantum() / 4; // the deadline passes within the first ten
   Traces traces;
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 10u);
   EXPECT_TRUE(traces.contains("Backlog entries processed: 10"));
   EXPECT_EQ(sm->bookmark(), key(11));
   sm->costPerKey = 0;
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 15u);
   EXPECT_EQ(sm->seen[10], "k11");
   // Emptying the backlog leaves the bookmark; the next slice, not finding it, starts over.
   EXPECT_EQ(sm->bookmark(), key(11));

   // Fewer than ten entries never read the clock, however late the slice.
   for (int i = 1; i <= 9; ++i) sm->add(key(i));
   const std::uint64_t reads = Kiv::System::timeReads();
   EXPECT_EQ(sm->processBacklog(-1.0), 9u);
   EXPECT_EQ(Kiv::System::timeReads(), reads);

   // A yield right after the last entry of the backlog leaves no entry to
   // resume at: the bookmark goes back to the beginning, where the rest waits.
   for (int i = 1; i <= 11; ++i) sm->add(key(i));
   sm->bookmarkIs(key(2));
   sm->costPerKey = sm->backlogQuantum();
   sm->seen.clear();
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 10u);
   EXPECT_EQ(sm->seen.front(), "k2");
   EXPECT_EQ(sm->seen.back(), "k11");
   EXPECT_EQ(sm->bookmark(), SmCodefKey());
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 1u);
   EXPECT_EQ(sm->seen.back(), "k1");

   // A slice starts at the bookmark and wraps around; one gone starts it at the beginning.
   for (int gone : {0, 1}) {
      sm->seen.clear();
      for (int i = 1; i <= 3; ++i) sm->add(key(i));
      sm->bookmarkIs(key(2));
      if (gone) sm->backlogDel(key(2));
      sm->processBacklog(Kiv::System::currentTime());
      EXPECT_EQ(sm->seen, gone ? (std::vector< std::string >{"k1", "k3"})
                               : (std::vector< std::string >{"k2", "k3", "k1"}));
   }
}

TEST_F(BacklogTest, RepeatedKeysCoalesceAFailingKeyStaysAnUninitializedSideDiscards) {
   sm->add(key(1));
   sm->add(key(2));
   sm->add(key(1));
   sm->onKey = [this](const SmCodefKey & k) {
      if (k == key(1)) sm->add(key(3)); // enqueued mid-slice
   };
   runUntilQuiet();
   EXPECT_EQ(sm->seen, (std::vector< std::string >{"k1", "k2", "k3"}));
   EXPECT_EQ(sm->updatesSeen(), 4u);
   EXPECT_EQ(sm->dispatchCount(), 1u);

   sm->seen.clear();
   for (int i = 1; i <= 3; ++i) sm->add(key(i));
   sm->bookmarkIs(key(3));
   sm->onKey = [this](const SmCodefKey & k) {
      if (k == key(1)) throw Kiv::RangeException("no such thing");
   };
   EXPECT_THROW(sm->processBacklog(Kiv::System::currentTime()), Kiv::RangeException);
   EXPECT_EQ(sm->seen, (std::vector< std::string >{"k3", "k1"}));
   EXPECT_EQ(sm->bookmark(), key(3));
   sm->onKey = nullptr;
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 2u);

   // An uninitialized side discards the backlog and the bookmark.
   sm->initializedIs(false);
   sm->add(key(1));
   sm->bookmarkIs(key(1));
   Traces traces;
   EXPECT_EQ(sm->processBacklog(Kiv::System::currentTime()), 0u);
   EXPECT_TRUE(traces.contains("Discarding backlog as not yet ready to process"));
   EXPECT_EQ(sm->backlogSize(), 0u);
   EXPECT_EQ(sm->bookmark(), SmCodefKey());
}

} // namespace
