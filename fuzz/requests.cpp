// What a room is asked for, as far as it is text: who is let in, what a visitor wants, and what is
// written back about things with any name.
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/Target.h"
#include "meeting/room/Access.h"
#include "meeting/room/RoomText.h"

namespace meeting {
namespace {

using nlohmann::json;

void tryRequest(fuzz::Input& in) {
  const std::string text = in.ConsumeRandomLengthString(4096);
  const auto request = parseRequest(text);
  if (!request) return;
  constexpr const char* kTypes[] = {"act", "watch", "drawn", "read", "samples", "listen"};
  const json document = json::parse(text);
  EXPECT_EQ(document["type"], kTypes[request->index()]);
  if (const auto* act = std::get_if<ActRequest>(&*request)) {
    EXPECT_EQ(document["action"], act->action);
    EXPECT_EQ(document["text"], act->text);
  } else if (const auto* watch = std::get_if<WatchRequest>(&*request)) {
    for (const json& view : document["views"]) EXPECT_TRUE(watch->views.contains(view));
  } else if (const auto* read = std::get_if<ReadRequest>(&*request)) {
    EXPECT_EQ(document["number"], read->number);
  }
}

void tryAccess(fuzz::Input& in) {
  const bool loopback = in.ConsumeBool();
  const std::string token = in.ConsumeBool() ? "0123456789abcdef" : "";
  const auto port = in.ConsumeIntegral<std::uint16_t>();
  const Access access(in.ConsumeBool() ? "127.0.0.1" : "::1", loopback, port, token);
  const std::string target = in.ConsumeRandomLengthString(128);
  if (const auto path = access.pathOf(target)) {
    const std::string before = token.empty() ? "/" : "/" + token + "/";
    EXPECT_EQ(target.substr(0, before.size() + path->size()), before + std::string(*path));
    EXPECT_EQ(path->find('?'), std::string_view::npos);
  }
  const std::string host = in.ConsumeRandomLengthString(64);
  const std::string origin = in.ConsumeRandomLengthString(64);
  EXPECT_TRUE(loopback || access.isOurHost(host));
  EXPECT_EQ(access.isOurOrigin(std::nullopt, host), access.isOurHost(host));
  if (access.isOurOrigin(origin, host)) {
    EXPECT_EQ(origin.size(), host.size() + std::string_view("http://").size());
  }
}

// Names of files need not be UTF-8, and what is said about them must be.
void tryAnswers(fuzz::Input& in) {
  ParticipantStatus status;
  status.id = in.ConsumeRandomLengthString(300);
  status.file = in.ConsumeRandomLengthString(300);
  status.position = in.ConsumeFloatingPoint<double>();
  EXPECT_TRUE(json::accept(*statusText({status})));
  EXPECT_TRUE(json::accept(*answerText(in.ConsumeIntegral<std::int64_t>(), status.file)));
  const auto jpeg = in.ConsumeBytes<unsigned char>(64);
  const std::string picture = *pictureData(status.id, jpeg);
  const std::size_t idLength = static_cast<unsigned char>(picture.at(1));
  EXPECT_EQ(picture.at(0), 'P');
  EXPECT_EQ(picture.size(), 2 + idLength + jpeg.size());
  EXPECT_EQ(picture.substr(2, idLength), status.id.substr(0, 255));
}

}  // namespace
}  // namespace meeting

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr void (*kTries[])(fuzz::Input&) = {meeting::tryRequest, meeting::tryRequest,
                                              meeting::tryAccess, meeting::tryAnswers};
  in.PickValueInArray(kTries)(in);
  return 0;
}
