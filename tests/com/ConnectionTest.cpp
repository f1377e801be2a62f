#include <cstdlib>
#include <optional>
#include <vector>

#include "tests/com/ContainerFixture.h"

namespace tlk {

struct ConnectionTest : ContainerTest {
  void SetUp() override {
    m_embedded.Advise(m_listener);
    m_embedded.Connect(m_peer);
  }

  LoopbackPeer m_peer;
};

// The number of a closed socket may go to the next one.
TEST_F(ConnectionTest, ALateWordDoesNotEndTheNextConnection) {
  const UINT notify = RegisterWindowMessageW(L"Tlkc:wsnotify");
  MSG word;
  GetMessageW(&word, m_embedded.Window(), notify, notify);
  m_embedded.control->Disconnect();
  for (WPARAM socket = 4; socket <= word.wParam + 1024; socket += 4)
    PostMessageW(word.hwnd, notify, socket, WSAMAKESELECTREPLY(FD_CLOSE, WSAECONNRESET));
  m_embedded.Connect(m_peer);
  m_peer.Send(ServerMessage("New"));
  EXPECT_TRUE(PumpUntil([&] { return m_listener.calls.ends_with("<Data/>"); }));
  EXPECT_EQ(m_listener.calls, "status 3 status 0 status 3 New <Data/>");
}

TEST_F(ConnectionTest, OutlivesTheWindow) {
  for (const bool properly : {true, false}) {
    m_listener.calls.clear();
    properly ? m_embedded.As<IOleInPlaceObject>()->InPlaceDeactivate()
             : DestroyWindow(m_embedded.Window());
    ASSERT_EQ(m_embedded.Window(), nullptr);
    m_peer.Send(ServerMessage("Old"));
    ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
    EXPECT_NE(KillTimer(m_embedded.Window(), 0x52ED92), FALSE) << "the keep-alive timer";
    EXPECT_TRUE(PumpUntil([&] { return !m_listener.calls.empty(); }));
    EXPECT_EQ(m_listener.calls, "Old <Data/>");
  }
}

TEST_F(ConnectionTest, EndsWithTheProcess) {
  m_listener.awaited = "status 0";
  m_listener.during = [] { ExitProcess(17); };
  EXPECT_EXIT(std::exit(17), testing::ExitedWithCode(17), "") << "by the runtime";
  EXPECT_EXIT(ExitProcess(17), testing::ExitedWithCode(17), "") << "by the system";
  EXPECT_EXIT(m_embedded.control->Disconnect(), testing::ExitedWithCode(17), "") << "in an event";
}

// The system tells only when none is left.
std::size_t CountFreeIndexes(auto take, auto free) {
  std::vector<DWORD> taken;
  for (DWORD index = 0; (index = take()) != TLS_OUT_OF_INDEXES;) taken.push_back(index);
  for (const DWORD index : taken) free(index);
  return taken.size();
}

// What a process holds of the system, as far as it can be counted.
struct ProcessHoldings {
  std::size_t freeTlsIndexes = CountFreeIndexes(TlsAlloc, TlsFree);
  std::size_t freeFlsIndexes = CountFreeIndexes([] { return FlsAlloc(nullptr); }, FlsFree);
  std::size_t handles = 0;
  std::size_t heapBlocks = 0;

  ProcessHoldings() {
    // One by one: Wine has no number of them.
    DWORD ignored = 0;
    for (INT_PTR value = 4; value < 0x10000; value += 4)
      handles += GetHandleInformation(reinterpret_cast<HANDLE>(value), &ignored) != FALSE;
    HANDLE heaps[64];
    for (DWORD i = GetProcessHeaps(64, heaps); i-- > 0;) {
      PROCESS_HEAP_ENTRY entry{};
      while (HeapWalk(heaps[i], &entry))
        heapBlocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
    }
  }
};

// The system may keep a few things itself, but not one for every time.
TEST(LeftoversTest, AThousandLoadsAndConnectionsLeaveNothing) {
  OleInitialize(nullptr);  // It takes longer than a load.
  std::optional<ProcessHoldings> before;
  for (int number = 0; number < 1000; ++number) {
    if (number == 60) before.emplace();  // Those until here only warm the process up.
    const LoadedModule module;
    LoopbackPeer peer;
    Site listener;
    Embedded embedded(module);
    embedded.Advise(listener);
    embedded.Connect(peer);
    std::string expected = "status 3";
    for (int i = 0; i < 3; ++i) {
      const std::string type = std::to_string(100 + (3 * number + i) % 900);
      peer.Send(ServerMessage(type));
      expected.append(" ").append(type).append(" <Data/>");
      ASSERT_TRUE(PumpUntil([&] { return listener.calls == expected; })) << listener.calls;
      ASSERT_EQ(embedded.control->SendTLKMsg(Bstr(L"Back").Get(), Bstr(L"<a/>").Get()), S_OK);
      std::string received;
      ASSERT_TRUE(PumpUntil([&] {
        received += peer.ReadSome(4096);
        return received.find("</TLK_Message>") != received.npos;
      }));
    }
    if (number % 3 == 0) continue;  // The container goes while it is connected.
    number % 3 == 1 ? (void)embedded.control->Disconnect() : peer.Close();
    expected += " status 0";
    ASSERT_TRUE(PumpUntil([&] { return listener.calls == expected; })) << listener.calls;
  }
  const ProcessHoldings now;
  EXPECT_EQ(now.freeTlsIndexes, before->freeTlsIndexes);
  EXPECT_EQ(now.freeFlsIndexes, before->freeFlsIndexes);
  EXPECT_LE(now.handles, before->handles + 10);
  EXPECT_LE(now.heapBlocks, before->heapBlocks + 20);
  EXPECT_EQ(GetModuleHandleW(L"TlkC2.dll"), nullptr);
  OleUninitialize();
}

}  // namespace tlk
