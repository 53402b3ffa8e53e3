// SPDX-License-Identifier: MIT
#include "mesh/topology.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using Agents = AgentAddress[kMostAgents];

// The addresses of a topology's agents in order, as "mac ip".
std::vector<std::string> agents_of(const std::string &topology) {
    const Json tree(cJSON_Parse(topology.c_str()));
    EXPECT_TRUE(tree) << topology.substr(0, 200);
    Agents agents = {};
    const int count = list_agents(tree.get(), agents);
    std::vector<std::string> found;
    for (int i = 0; i < count; ++i) {
        found.push_back(std::string(agents[i].mac) + " " + agents[i].ip);
    }
    return found;
}

using Texts = std::vector<std::string>;

std::string device(const std::string &name, const std::string &below = "") {
    return R"({"mac_address":"mac)" + name + R"(","ip_addr":"10.0.0.)" + name + R"(","child_devices":[)" + below + "]}";
}

std::string root(const std::string &devices) {
    return R"({"mac_address":"controller","ip_addr":"10.0.0.254","child_devices":[)" + devices + "]}";
}

TEST(ListAgents, ListsADeviceBeforeThoseBelowIt) {
    EXPECT_EQ(agents_of(root("")), Texts{});
    EXPECT_EQ(agents_of(root(device("1"))), Texts{"mac1 10.0.0.1"});
    EXPECT_EQ(agents_of(root(device("1", device("2", device("3")) + "," + device("4")) + "," + device("5"))),
              (Texts{"mac1 10.0.0.1", "mac2 10.0.0.2", "mac3 10.0.0.3", "mac4 10.0.0.4", "mac5 10.0.0.5"}));
}

TEST(ListAgents, PassesOverADeviceWithoutAddressesButNotOverItsChildren) {
    const std::string below = R"("child_devices":[)" + device("7") + "]}";
    for (const char *addresses :
         {"", R"("mac_address":"m",)", R"("ip_addr":"10.0.0.1",)", R"("mac_address":1,"ip_addr":"10.0.0.1",)",
          R"("mac_address":"m","ip_addr":null,)", R"("mac_address":["m"],"ip_addr":{},)"}) {
        EXPECT_EQ(agents_of(root("{" + std::string(addresses) + below)), Texts{"mac7 10.0.0.7"}) << addresses;
    }
}

TEST(ListAgents, FindsKeysWhateverTheirCase) {
    EXPECT_EQ(agents_of(R"({"Child_Devices":[{"MAC_ADDRESS":"m","Ip_Addr":"10.0.0.1"}]})"), Texts{"m 10.0.0.1"});
}

TEST(ListAgents, FindsNothingInOtherDocuments) {
    for (const char *document :
         {"{}", "[]", "1", "null", R"("text")", R"({"child_devices":{}})", R"({"child_devices":"x"})",
          R"({"child_devices":{"a":{"mac_address":"m","ip_addr":"i"}}})", R"({"child_devices":[1,null,"x",[],{}]})",
          R"([{"mac_address":"m","ip_addr":"i"}])", R"({"mac_address":"m","ip_addr":"i"})"}) {
        EXPECT_EQ(agents_of(document), Texts{}) << document;
    }
    Agents agents = {};
    EXPECT_EQ(list_agents(nullptr, agents), 0);
}

TEST(ListAgents, StopsAfterThirtyTwo) {
    for (const int given : {31, 32, 33, 40}) {
        std::string beside;
        std::string below;
        for (int i = given; i > 0; --i) {
            beside = device(std::to_string(i)) + (beside.empty() ? "" : ",") + beside;
            below = device(std::to_string(i), below);
        }
        for (const std::string &devices : {beside, below}) {
            const Texts found = agents_of(root(devices));
            ASSERT_EQ(found.size(), given < 32 ? 31U : 32U);
            EXPECT_EQ(found.front(), "mac1 10.0.0.1");
            EXPECT_EQ(found.back(), "mac" + std::to_string(found.size()) + " 10.0.0." + std::to_string(found.size()));
        }
    }
}

TEST(ListAgents, CutsTextsToFifteenCharacters) {
    const auto with = [](const std::string &mac, const std::string &ip) {
        return root(R"({"mac_address":")" + mac + R"(","ip_addr":")" + ip + R"("})");
    };
    EXPECT_EQ(agents_of(with("123456789012345", "abcdefghijklmno")), Texts{"123456789012345 abcdefghijklmno"});
    EXPECT_EQ(agents_of(with("1234567890123456", "abcdefghijklmnop")), Texts{"123456789012345 abcdefghijklmno"});
    EXPECT_EQ(agents_of(with(std::string(100000, 'x'), "")), Texts{std::string(15, 'x') + " "});
}

// An array and an object a level: as deep as the parser goes.
TEST(ListAgents, GoesAsDeepAsTheParser) {
    constexpr int kDepth = (CJSON_NESTING_LIMIT - 4) / 2;
    std::string tree = device("1");
    for (int i = 0; i < kDepth; ++i) {
        tree = R"({"child_devices":[)" + tree + "]}";
    }
    EXPECT_EQ(agents_of(tree), Texts{"mac1 10.0.0.1"});
}

// A file that is gone at the end of the test.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &content) {
        const int descriptor = mkstemp(path_);
        EXPECT_GE(descriptor, 0);
        const File file(fdopen(descriptor, "w"));
        EXPECT_EQ(fwrite(content.data(), 1, content.size(), file.get()), content.size());
    }
    ~TemporaryFile() { unlink(path_); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    const char *path() const { return path_; }

  private:
    char path_[32] = "/tmp/topology_test_XXXXXX";
};

std::string read_back(const std::string &content) {
    const TemporaryFile file(content);
    const OwnedText text = read_topology(file.path());
    return text ? text.get() : "none";
}

TEST(ReadTopology, ReadsTheFirstLineAlone) {
    EXPECT_EQ(read_back("{}"), "{}");
    EXPECT_EQ(read_back("{}\n[]\n"), "{}\n");
    EXPECT_EQ(read_back("\n{}\n"), "\n");
    EXPECT_EQ(read_back(""), "");
}

TEST(ReadTopology, ReadsALineOfAnyLength) {
    const std::string line = root(device("1") + R"(,{"note":")" + std::string(10000000, 'x') + R"("},)" + device("2"));
    const std::string text = read_back(line + "\nmore");
    ASSERT_EQ(text.size(), line.size() + 1);
    EXPECT_EQ(agents_of(text), (Texts{"mac1 10.0.0.1", "mac2 10.0.0.2"}));
}

TEST(ReadTopology, GivesNothingThatParsesOfADocumentOverSeveralLines) {
    const TemporaryFile file("{\n\"child_devices\":[]}\n");
    EXPECT_FALSE(Json(cJSON_Parse(read_topology(file.path()).get())));
}

TEST(ReadTopology, TellsAMissingFileFromOneThatCantBeRead) {
    EXPECT_FALSE(read_topology("/nonexistent/topology"));
    const OwnedText folder = read_topology("/tmp");
    ASSERT_TRUE(folder);
    EXPECT_STREQ(folder.get(), "");
}

}  // namespace
