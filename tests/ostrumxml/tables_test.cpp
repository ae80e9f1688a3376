// The tables in which a document holds its names and elements.
#include <gtest/gtest.h>

#include <optional>

#include "host/ostrumxml/data/element_table.h"
#include "host/ostrumxml/data/key_index.h"
#include "host/ostrumxml/data/keyed_hash.h"
#include "host/ostrumxml/data/name_table.h"
#include "support/text.h"

namespace {

using Ostrum::KeyedHash;

// The key and the text are the bytes 0, 1, 2 and so on. The values come from a program that follows
// the published definition. It also gives the published value of SipHash-2-4 and, with a key of
// zeros, the values of another implementation of SipHash-1-3.
TEST(KeyedHash, IsSipHash13AlsoOfTextThatGrows) {
  std::optional<KeyedHash> random; // at one address
  EXPECT_NE(random.emplace()("text"), random.emplace()("text"));
  const KeyedHash hash(0x0706050403020100, 0x0F0E0D0C0B0A0908);
  KeyedHash::State state = hash.Start();
  std::string text;
  using Row = std::pair<std::size_t, std::uint64_t>;
  for (const auto& [size, expected] :
       {Row(0, 0xABAC0158050FC4DC), Row(1, 0xC9F49BF37D57CA93), Row(7, 0xD3927D989BB11140),
        Row(8, 0x369095118D299A8E), Row(9, 0x25A48EB36C063DE4), Row(15, 0xD320D86D2A519956),
        Row(16, 0xCC4FDD1A7D908B66), Row(63, 0x9D199062B7BBB3A8), Row(300, 0x4016A23BDA5A2224)}) {
    while (text.size() < size) text += static_cast<char>(text.size());
    EXPECT_EQ(hash(text), expected) << size;
    EXPECT_EQ(KeyedHash::Continue(state, text), expected) << size;
  }
}

struct Entry {
  std::string key;
  std::string_view Key() const { return key; }
};

// Also while every hash is the same, and while probing wraps around at the last slot.
TEST(KeyIndex, FindsEachKeyWhateverItsHash) {
  for (const std::uint32_t mask : {0U, 1U, 0x80000007U, ~0U}) {
    const auto hashOf = [mask](std::uint32_t i) { return ~(i * 2654435761U & mask); };
    std::vector<Entry> entries;
    Ostrum::KeyIndex index;
    EXPECT_EQ(index.Find(entries, "", hashOf(0)), 0U);
    for (std::uint32_t i = 0; i < 300; ++i) {
      index.MakeRoom(i);
      entries.push_back({std::to_string(i)});
      for (const std::uint32_t number : {i + 1, 1000U}) // the first one stays
        EXPECT_EQ(index.Enter(entries, entries[i].key, hashOf(i), number), i + 1);
      for (const std::uint32_t j : {0U, i / 2, i})
        EXPECT_EQ(index.Find(entries, entries[j].key, hashOf(j)), j + 1);
      EXPECT_EQ(index.Find(entries, "x", hashOf(i)), 0U);
    }
  }
}

TEST(NameTable, GivesEachNameOneNumber) {
  Ostrum::NameTable table;
  EXPECT_EQ(table.Find("n1"), 0U);
  const std::string text = Repeat("n@|", 1000);
  const auto names = Split(text);
  for (std::uint32_t i = 0; i < 2000; ++i) {
    const std::string_view name = names[i % 1000], older = names[i / 2]; // not a recent one
    EXPECT_EQ(i % 3 == 0 ? table.InternCopy(std::string(name)) : table.Intern(name), i % 1000 + 1);
    EXPECT_EQ(table.Intern(older), i / 2 + 1);
    EXPECT_EQ(table.Find(older), i / 2 + 1);
    EXPECT_EQ(table.Text(i / 2 + 1), older);
    EXPECT_EQ(table.Find(std::string(name) + "x"), 0U);
  }
}

// Whether many elements are expected or none, and beyond the most that get memory together.
TEST(ElementTable, RecordsStayInPlace) {
  for (const std::size_t expectedCount : {0U, 200'000U}) {
    Ostrum::ElementTable table(expectedCount);
    std::vector<const Ostrum::ElementRecord*> records;
    for (std::uint32_t number = 1; number <= 1'500'000; ++number) {
      ASSERT_EQ(table.Add(), number);
      table[number] = {number, 0, 0, 0, 0, ~number};
      records.push_back(&table[number]);
    }
    for (std::uint32_t number = 1; number <= records.size(); ++number) {
      ASSERT_EQ(&table[number], records[number - 1]);
      ASSERT_TRUE(table[number].name == number && table[number].flags == ~number) << number;
    }
  }
}

} // namespace
