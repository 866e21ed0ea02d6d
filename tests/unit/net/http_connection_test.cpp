#include "common/system/net/http_connection.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "scripted_connection.h"

namespace tarnwell {
namespace {

using test::CScriptedConnection;
using test::Dripped;
using test::MessageOf;
using test::Text;
using test::Wire;

TEST(CHttpConnection, SendsALineAndItsEndInHoweverManyPieces) {
    for (const std::uint32_t piece : {1U, 3U, 1000U}) {
        Wire wire;
        CScriptedConnection connection(wire, {});
        connection.SendsPieces(piece);
        connection.SendLine("Host: 127.0.0.1");
        connection.SendLine("");
        connection.SendAll(std::string_view("a\0b", 3));
        connection.SendAll("");
        EXPECT_EQ(wire.sent, std::string("Host: 127.0.0.1\r\n\r\na\0b", 22));
    }
}

TEST(CHttpConnection, TellsHowSendingFailed) {
    Wire wire;
    CScriptedConnection broken(wire, {});
    broken.SendsOnly(4, 10054);
    EXPECT_EQ(MessageOf([&] { broken.SendLine("long line"); }),
              "Unable to send data: Connection reset by peer");
    EXPECT_EQ(wire.sent, "long");

    CScriptedConnection stuck(wire, {});
    stuck.SendsOnly(4, 0);
    EXPECT_EQ(MessageOf([&] { stuck.SendLine("long line"); }), "Sent zero bytes");
}

TEST(CHttpConnection, ReadsLinesWhereverThePacketsEnd) {
    const std::string stream = "abc\r\r\nmid\rdle\n\n\r\nlast without end";
    for (const auto& pieces : {std::deque<std::string>{stream}, Dripped(stream)}) {
        Wire wire;
        CScriptedConnection connection(wire, pieces);
        for (const char* line : {"abc", "middle", "", "", "last without end", "", ""})
            EXPECT_EQ(connection.ReadLine(), line);
    }
}

TEST(CHttpConnection, KeepsEveryOtherByteOfALine) {
    std::string line;
    for (int value = 0; value < 256; ++value)
        if (value != '\n' && value != '\r')
            line.push_back(static_cast<char>(value));
    Wire wire;
    CScriptedConnection connection(wire, {line + "\n"});
    EXPECT_EQ(Text(connection.ReadLine()), line);
}

TEST(CHttpConnection, TellsHowReceivingFailed) {
    Wire wire;
    CScriptedConnection connection(wire, {"half a li"});
    connection.EndsWith(10054);
    const char* message = "Unable to receive data: Connection reset by peer";
    ByteArray chunk;
    EXPECT_EQ(MessageOf([&] { connection.ReadLine(); }), message);
    EXPECT_EQ(MessageOf([&] { connection.ReadByte(); }), message);
    EXPECT_EQ(MessageOf([&] { connection.ReceiveChunk(chunk); }), message);
    EXPECT_TRUE(chunk.empty());
}

TEST(CHttpConnection, ChargesTheBudgetForEveryByteOfALine) {
    Wire wire;
    CScriptedConnection connection(wire, {"abc\r\nde\r\n", "f\n", "x"});
    std::size_t budget = 9;
    EXPECT_EQ(connection.ReadLine(budget), "abc");
    EXPECT_EQ(budget, 4u);
    EXPECT_EQ(connection.ReadLine(budget), "de");
    EXPECT_EQ(budget, 0u);
    EXPECT_EQ(MessageOf([&] { connection.ReadLine(budget); }), "Bad HTTP response");

    budget = 2;
    EXPECT_EQ(connection.ReadLine(budget), "f");
    EXPECT_EQ(MessageOf([&] { connection.ReadLine(budget); }), "Bad HTTP response");
}

TEST(CHttpConnection, GivesUpOnALineWithoutEnd) {
    Wire wire;
    CScriptedConnection connection(wire, {std::string(kMaxHeadBytes + 1, 'a')});
    EXPECT_EQ(MessageOf([&] { connection.ReadLine(); }), "Bad HTTP response");

    CScriptedConnection fits(wire, {std::string(kMaxHeadBytes - 1, 'a') + "\n"});
    EXPECT_EQ(fits.ReadLine().Length(), kMaxHeadBytes - 1);
}

TEST(CHttpConnection, HandsOutWhatLinesLeftBeforeReceivingMore) {
    Wire wire;
    CScriptedConnection connection(wire, {"line\nrest", std::string(3000, 'x')});
    ByteArray chunk = {1, 2, 3};
    EXPECT_EQ(connection.ReadLine(), "line");
    EXPECT_TRUE(connection.ReceiveChunk(chunk));
    EXPECT_EQ(Text(chunk), "rest");
    EXPECT_TRUE(connection.ReceiveChunk(chunk));
    EXPECT_EQ(chunk.size(), 2000u);
    EXPECT_TRUE(connection.ReceiveChunk(chunk));
    EXPECT_EQ(chunk.size(), 1000u);
    EXPECT_FALSE(connection.ReceiveChunk(chunk));
    EXPECT_TRUE(chunk.empty());
    // Lines come in small receives, bodies in larger ones.
    EXPECT_EQ(wire.receiveSizes, (std::vector<std::uint32_t>{256, 2000, 2000, 2000}));
}

struct Refusal {
    const char* address;
    const char* message;
};

TEST(CHttpConnection, RefusesAnAddressItCannotUse) {
    const Refusal rows[] = {
        {"nonsense", "Invalid URL format"},
        {"http://127.0.0.1:80x/", "Invalid URL format"},
        {"https://127.0.0.1/", "Unknown URL scheme"},
        {"HTTP://127.0.0.1/", "Unknown URL scheme"},
    };
    for (const Refusal& row : rows) {
        CHttpConnection connection;
        EXPECT_EQ(MessageOf([&] { connection.Connect(CHttpUrl::Parse(row.address)); }),
                  row.message);
    }
    // Longer than any name can be, so that no resolver is asked for it.
    const std::string host(300, 'h');
    CHttpConnection connection;
    EXPECT_EQ(MessageOf([&] { connection.Connect(CHttpUrl::Parse("http://" + host + "/")); }),
              "Host \"" + host + "\" not found");
}

TEST(CHttpConnectionFactory, MakesConnectionsForHttpOnly) {
    CHttpConnectionFactory factory;
    EXPECT_NE(factory.Create(CHttpUrl::Parse("http://host/")), nullptr);
    const Refusal rows[] = {
        {"ftp://host/", "Invalid protocol : ftp"},
        {"https://host/", "Invalid protocol : https"},
        {"Http://host/", "Invalid protocol : Http"},
        {"no scheme", "Invalid protocol : "},
    };
    for (const Refusal& row : rows)
        EXPECT_EQ(MessageOf([&] { factory.Create(CHttpUrl::Parse(row.address)); }), row.message);
}

}  // namespace
}  // namespace tarnwell
