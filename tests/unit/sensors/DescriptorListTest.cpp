#include "sensors/DescriptorList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/Array.h"
#include "tests/support/Facades.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

struct Sensor {
  Value type;
  Value description;
};

/// A database entry of one model with these sensors.
Value modelWith(const std::vector<Sensor>& sensors) {
  auto table = Dictionary::make();
  for (const Sensor& sensor : sensors) {
    auto descriptor = Dictionary::make();
    descriptor->set("type", sensor.type);
    descriptor->set("description", sensor.description);
    table->set("T" + std::to_string(table->count()), descriptor);
  }
  return std::make_shared<Dictionary>(Dictionary::Entries{{"Sensors", table}});
}

DictionaryRef listOf(const std::vector<Sensor>& sensors) {
  return categorizedDescriptors(Dictionary(Dictionary::Entries{{"Test1,1", modelWith(sensors)}}));
}

Texts textsIn(const Dictionary& list, std::string_view category) {
  Texts texts;
  if (const ArrayRef array = list.get(category).array()) {
    for (const Value& each : array->elements()) {
      texts.push_back(each.text().string());
    }
  }
  return texts;
}

Texts categoriesOf(const Dictionary& list) {
  Texts names;
  for (const auto& [name, texts] : list.entries()) {
    names.push_back(name.string());
  }
  return names;
}

/// Temperatures of these descriptions, as they are sorted.
Texts sortedOf(const Texts& descriptions) {
  std::vector<Sensor> sensors;
  sensors.reserve(descriptions.size());
  for (const std::string& description : descriptions) {
    sensors.push_back({"Temperature", description});
  }
  return textsIn(*listOf(sensors), "Temperature");
}

// ---- categories --------------------------------------------------------------------------------

TEST(DescriptorList, GroupsTheSensorsByTheirType) {
  const auto list = listOf({{"Temperature", "CPU"}, {"Voltage", "Rail"}, {"Temperature", "Air"}});
  EXPECT_THAT(categoriesOf(*list), ElementsAre("Temperature", "Voltage"));
  EXPECT_THAT(textsIn(*list, "Temperature"), ElementsAre("Air", "CPU"));
  EXPECT_THAT(textsIn(*list, "Voltage"), ElementsAre("Rail"));
}

TEST(DescriptorList, AccelerometerIsShownAsMotion) {
  const auto list = listOf({{"Accelerometer", "Motion X"}});
  EXPECT_THAT(categoriesOf(*list), ElementsAre("Motion"));
}

TEST(DescriptorList, PhotometersThatDifferInBlanksAroundThemAreOneLight) {
  const auto list = listOf({{"Photometer", "Ambient Light"}, {"Photometer", "  Ambient Light "}});
  EXPECT_THAT(categoriesOf(*list), ElementsAre("Light"));
  EXPECT_THAT(textsIn(*list, "Light"), ElementsAre("Ambient Light"));
}

TEST(DescriptorList, OnlyTheExactTypesAreShownUnderAnotherName) {
  const auto list = listOf({{"accelerometer", "A"}, {"Photometer ", "B"}, {"Light", "C"}});
  EXPECT_THAT(categoriesOf(*list), ElementsAre("accelerometer", "Photometer ", "Light"));
}

TEST(DescriptorList, TypeOfThatNameSharesTheCategory) {
  const auto list = listOf({{"Light", "Lid"}, {"Photometer", "Ambient"}});
  EXPECT_THAT(textsIn(*list, "Light"), ElementsAre("Ambient", "Lid"));
}

// ---- what is left out --------------------------------------------------------------------------

TEST(DescriptorList, DescriptionOfBlanksAloneIsLeftOutWithItsCategory) {
  const auto list = listOf({{"Temperature", " \t "}, {"Voltage", ""}, {"Current", "Input"}});
  EXPECT_THAT(categoriesOf(*list), ElementsAre("Current"));
}

TEST(DescriptorList, DescriptorWithoutDescriptionOrTypeIsLeftOut) {
  EXPECT_EQ(listOf({{"Temperature", Value()}, {Value(), "CPU"}})->count(), 0U);
}

TEST(DescriptorList, EmptyTypeIsAKindOfItsOwn) {
  EXPECT_THAT(textsIn(*listOf({{"", "CPU"}}), ""), ElementsAre("CPU"));
}

TEST(DescriptorList, TextsAreTrimmedOfBlanksAndTabsOnly) {
  EXPECT_THAT(sortedOf({"\t CPU \t", "Line\n"}), ElementsAre("CPU", "Line\n"));
}

TEST(DescriptorList, WhatIsNoTableIsPassedOver) {
  const Dictionary database(
      Dictionary::Entries{{"A", "text"},
                          {"B", Dictionary::make()},
                          {"C", std::make_shared<Dictionary>(Dictionary::Entries{{"Sensors", 1}})},
                          {"D", modelWith({{"Temperature", "CPU"}})}});
  EXPECT_THAT(textsIn(*categorizedDescriptors(database), "Temperature"), ElementsAre("CPU"));
}

TEST(DescriptorList, EmptyDatabaseGivesAnEmptyDictionary) {
  EXPECT_EQ(categorizedDescriptors(Dictionary())->count(), 0U);
}

// ---- over models -------------------------------------------------------------------------------

TEST(DescriptorList, SameSensorOfTwoModelsAppearsOnce) {
  const Dictionary database(
      Dictionary::Entries{{"A1,1", modelWith({{"Temperature", "CPU"}, {"Temperature", "GPU"}})},
                          {"B1,1", modelWith({{"Temperature", "CPU"}, {"Voltage", "CPU"}})}});
  const auto list = categorizedDescriptors(database);
  EXPECT_THAT(textsIn(*list, "Temperature"), ElementsAre("CPU", "GPU"));
  EXPECT_THAT(textsIn(*list, "Voltage"), ElementsAre("CPU"));
}

TEST(DescriptorList, TextsThatDifferInCaseAreTwo) {
  EXPECT_EQ(sortedOf({"CPU", "cpu"}).size(), 2U);
}

// ---- order -------------------------------------------------------------------------------------

TEST(DescriptorList, TextsOfOneLengthAreSortedWithoutCaseAndByNumber) {
  EXPECT_THAT(sortedOf({"Fan 3", "fan 2", "Fan 1"}), ElementsAre("Fan 1", "fan 2", "Fan 3"));
}

TEST(DescriptorList, DeliberateLongerTextIsComparedByItsBeginningOnly) {
  // "Fan 10" begins with "Fan 1", which comes before "Fan 2"; "Fan 2" comes before "Fan 10" by its
  // number. Whichever stands first stays first.
  EXPECT_THAT(sortedOf({"Fan 10", "Fan 2"}), ElementsAre("Fan 10", "Fan 2"));
  EXPECT_THAT(sortedOf({"Fan 2", "Fan 10"}), ElementsAre("Fan 2", "Fan 10"));
}

TEST(DescriptorList, DeliberateTextThatBeginsWithAnotherIsTheSameAsIt) {
  EXPECT_THAT(sortedOf({"CPU core", "CPU"}), ElementsAre("CPU core", "CPU"));
  EXPECT_THAT(sortedOf({"CPU", "CPU core"}), ElementsAre("CPU", "CPU core"));
}

TEST(DescriptorList, NoOrderOfAnyTextsLosesOne) {
  std::mt19937 random(20);
  const std::u16string characters = u"aAbBfF 0129\u00e4\u00df-";
  for (int round = 0; round < 200; ++round) {
    Texts texts;
    for (std::size_t count = random() % 60; texts.size() < count;) {
      std::string text = "x";
      for (std::size_t length = random() % 8; length > 0; --length) {
        const char16_t character = characters[random() % characters.size()];
        text += character < 0x80 ? std::string(1, static_cast<char>(character))
                                 : std::string{static_cast<char>(0xC0U | (character >> 6U)),
                                               static_cast<char>(0x80U | (character & 0x3FU))};
      }
      texts.push_back(text + "x");  // no blanks at its ends
    }
    Texts sorted = sortedOf(texts);
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, texts);
  }
}

// ---- the facade --------------------------------------------------------------------------------

class DescriptorsOfAFacade : public FacadeTest {};

TEST_F(DescriptorsOfAFacade, AreThoseOfItsDatabaseWithoutATransfer) {
  start({key("TC0P", "sp78", {0x2D, 0})}, {{"TC0P", "CPU proximity"}});
  facade_->setMainSensorDict(std::make_shared<Dictionary>(
      Dictionary::Entries{{"A1,1", modelWith({{"Temperature", "CPU"}})}}));
  const auto list = facade_->categorizedListOfDescriptors();
  EXPECT_THAT(textsIn(*list, "Temperature"), ElementsAre("CPU"));
  EXPECT_NE(facade_->categorizedListOfDescriptors(), list);
  EXPECT_EQ(transfers(), 0U);
}

TEST_F(DescriptorsOfAFacade, AreNoneWithoutADatabase) {
  start({key("TC0P", "sp78", {0x2D, 0})}, {});
  facade_->setMainSensorDict(nullptr);
  EXPECT_EQ(facade_->categorizedListOfDescriptors()->count(), 0U);
}

}  // namespace
}  // namespace halvarin::test
