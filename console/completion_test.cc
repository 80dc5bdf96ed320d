#include "console/completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace lisp_worker::console {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

std::vector<std::string> candidatesAt(const std::string& before) {
  CompletionSource source{.names = {"CAR", "CDR", "CONS", "COMMAND", "PLATE"},
                          .layers = {"0", "HOLES"}};
  std::vector<std::string> texts;
  for (const Candidate& candidate : completeAt(before, source).candidates) {
    texts.push_back(candidate.text);
  }
  return texts;
}

std::string extended(const std::string& before) {
  return completeAt(before, {.names = {"CAR", "COMMAND", "CONS", "CONSTANT"}}).extended();
}

TEST(Completion, OffersNamesOfTheSession) {
  EXPECT_THAT(candidatesAt("(LIST (c"), ElementsAre("CAR", "CDR", "COMMAND", "CONS"));
  EXPECT_THAT(candidatesAt("'pla"), ElementsAre("PLATE"));
  EXPECT_THAT(candidatesAt("(LIST zz"), IsEmpty());
  EXPECT_THAT(candidatesAt("; (c"), IsEmpty());
}

TEST(Completion, AddsWhatAllCandidatesHave) {
  EXPECT_EQ(extended("(com"), "command ");
  EXPECT_EQ(extended("(CO"), "CO");
  EXPECT_EQ(extended("(con"), "cons");
  EXPECT_EQ(extended("(CA"), "CAR ");
  EXPECT_EQ(extended("(X"), "X");
  EXPECT_EQ(extended("'((0 \"cir"), "CIRCLE\"");
}

TEST(Completion, OffersParametersOfTheFunctionAround) {
  EXPECT_THAT(candidatesAt("(DEFUN F (width / wide)\n (LIST wi"), ElementsAre("WIDE", "WIDTH"));
  EXPECT_THAT(candidatesAt("(DEFUN F (width) width)\n(LIST wi"), IsEmpty());
}

TEST(Completion, OffersWhatAFormNeedsBehindCommandsThatRunOne) {
  EXPECT_THAT(candidatesAt(":tr"), ElementsAre(":trace"));
  EXPECT_THAT(candidatesAt(":co"), ElementsAre(":coverage"));
  for (const char* const command : {":time", ":trace", ":profile", ":coverage"}) {
    EXPECT_THAT(candidatesAt(std::string(command) + " (LIST (pl"), ElementsAre("PLATE"));
    EXPECT_THAT(candidatesAt(std::string(command) + " (COMMAND \"ci"), ElementsAre("CIRCLE"));
  }
  const std::string directory = testing::TempDir() + "lisp_completion_test";
  std::filesystem::create_directories(directory + "/inside");
  EXPECT_THAT(candidatesAt(":trace " + directory + "/ins"), ElementsAre(directory + "/inside/"));
  std::filesystem::remove_all(directory);
}

TEST(Completion, OffersCommandsAndTheirOptions) {
  EXPECT_THAT(candidatesAt("(COMMAND \""), IsSupersetOf({"CIRCLE", "LINE", "LAYER", "ZOOM"}));
  EXPECT_THAT(candidatesAt("(command-s \"c"), ElementsAre("CIRCLE", "COPY"));
  EXPECT_THAT(candidatesAt("(COMMAND \"CIRCLE\" P \""), ElementsAre("D", "2P", "3P"));
  EXPECT_THAT(candidatesAt("(COMMAND \"LAYER\" \"o"), ElementsAre("ON", "OFF"));
  EXPECT_THAT(candidatesAt("(COMMAND \"ERASE\" \"a"), ElementsAre("ALL"));
  EXPECT_THAT(candidatesAt("(COMMAND \"LINE\" A B \"\" \"ci"), ElementsAre("CIRCLE"));
  EXPECT_THAT(candidatesAt("(LIST \"c"), IsEmpty());
}

TEST(Completion, OffersTypesGroupsLayersAndSnaps) {
  EXPECT_THAT(candidatesAt("'((0 \""), IsSupersetOf({"CIRCLE", "LINE", "TEXT"}));
  EXPECT_THAT(candidatesAt("(ENTMAKE '((0 \"ARC\") ("),
              IsSupersetOf({"10", "40", "50", "51", "8"}));
  EXPECT_THAT(candidatesAt("(ENTMAKE '((0 \"CIRCLE\") ("), Not(Contains("50")));
  EXPECT_THAT(candidatesAt("(ENTMAKE (LIST '(0 \"LINE\") '(1"), ElementsAre("10", "11"));
  EXPECT_THAT(candidatesAt("'((0 \"LINE\") (8 \"h"), ElementsAre("HOLES"));
  EXPECT_THAT(candidatesAt("(OSNAP P \"c"), ElementsAre("CEN"));
}

TEST(Completion, OffersCommandsOfThePromptAndWhatTheyTake) {
  EXPECT_THAT(candidatesAt(":re"), ElementsAre(":redo"));
  EXPECT_THAT(candidatesAt(":doc cir"), ElementsAre("CIRCLE"));
  EXPECT_THAT(candidatesAt(":load /no/such/directory/"), IsEmpty());
}

TEST(Completion, TellsHowAFunctionIsCalled) {
  CompletionSource source{.names = {"CAR"}};
  source.signature = [](std::string_view name) { return name == "CAR" ? "(CAR LIST)" : ""; };
  EXPECT_EQ(completeAt("(car ", source).hint, "(CAR LIST)");
  EXPECT_EQ(completeAt("(car x", source).hint, "");
  EXPECT_THAT(completeAt("(car ", source).candidates, IsEmpty());
}

}  // namespace
}  // namespace lisp_worker::console
