// A reader that misbehaves in the way that the format it is asked for says.
#include <fcntl.h>
#include <linux/io_uring.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <map>

#include "module_scene/io/reader/message.h"
#include "module_scene/io/reader/reader.h"

namespace {

using namespace nubo::reader;

/// A triangle.
void readWell(Output& output) {
  Mesh mesh;
  mesh.positions = output.array(std::vector<float>{0, 0, 0, 1, 0, 0, 0, 0, 1});
  mesh.indices = output.array(std::vector<std::uint32_t>{0, 1, 2});
  output.model.meshes.push_back(mesh);
  Node node;
  node.instances.push_back({0});
  output.model.nodes.push_back(node);
}

void readSkinned(Output& output) {
  readWell(output);
  Mesh& mesh = output.model.meshes[0];
  mesh.influences = 1;
  mesh.bones = output.array<std::uint16_t>(3);
  mesh.boneWeights = output.array<float>(3);
  output.model.skins.push_back({{Bone{0}}});
  output.model.nodes[0].instances[0].skin = 0;
}

/// Longer than a reader may take for nothing, with a sign of life now and then.
void dawdle(Output& output) {
  for (int i = 0; i < 30; ++i, usleep(50000)) output.progress(-1);
  readWell(output);
}

void send(Message message) {
  iovec part{&message, sizeof message};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  sendmsg(HelperSocket, &header, 0);
}

[[noreturn]] void report(bool succeeded) { throw Refusal(succeeded ? "it was let through" : "it was stopped"); }

int openRing() {
  io_uring_params parameters{};
  return int(syscall(SYS_io_uring_setup, 4, &parameters));
}

/// What must be refused by the kernel: each is a call that is below 0 then.
const std::map<std::string, std::function<long(const std::string&)>> Attempts{
    {"writes", [](const std::string& file) { return open((file + ".new").c_str(), O_WRONLY | O_CREAT, 0600); }},
    {"overwrites", [](const std::string& file) { return open(file.c_str(), O_RDWR); }},
    {"removes", [](const std::string& file) { return unlink(file.c_str()); }},
    {"connects", [](const std::string&) { return socket(AF_INET, SOCK_STREAM, 0); }},
    {"runs", [](const std::string&) { return execl("/bin/true", "true", nullptr); }},
    {"forks", [](const std::string&) { return long(fork()); }},
    {"rings", [](const std::string&) { return openRing(); }},
    {"kills", [](const std::string&) { return kill(getppid(), 0); }},
    {"peeks", [](const std::string&) { return open("/etc/hostname", O_RDONLY); }},
    {"hides", [](const std::string&) {
       return mmap(nullptr, 1 << 20, PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? -1 : 0;
     }}};

/// What the program must bear.
const std::map<std::string, std::function<void(Output&)>> Faults{
    {"allocates",
     [](Output& output) {
       for (std::vector<std::vector<char>> all;; output.progress(-1)) all.emplace_back(256 << 20, 'x');
     }},
    {"shares",
     [](Output& output) {
       for (;;) output.array<char>(256 << 20);
     }},
    {"sleeps", [](Output&) { sleep(1000); }},
    {"turns",
     [](Output&) {
       for (volatile unsigned i = 0;; i = i + 1) {
       }
     }},
    {"warns",
     [](Output& output) {
       for (;;) output.warning("not yet");
     }},
    {"dawdles", dawdle},
    {"brings",
     [](Output& output) {
       output.array<char>(1 << 30);
       dawdle(output);
     }},
    {"crashes", [](Output&) { raise(SIGSEGV); }},
    {"leaves", [](Output&) { _exit(0); }},
    {"throws",
     [](Output&) {
       throw Refusal("'%1' is\nno %2", {"it", "file"});
     }},
    {"keeps still", [](Output&) { throw Refusal(""); }},
    {"lies",
     [](Output& output) {
       output.array<char>(9);  // in a block that is shorter than what is announced
       send({Message::Done, 0, std::uint64_t(1) << 24});
       sleep(1000);
     }},
    {"talks",
     [](Output&) {
       send({99, 0, 0}), sleep(1000);
     }},
    {"index", [](Output& output) { readWell(output), output.model.meshes[0].indices[1] = 3; }},
    {"corners", [](Output& output) { readWell(output), output.model.meshes[0].indices.shrink(2); }},
    {"normals", [](Output& output) { readWell(output), output.model.meshes[0].normals = output.array<float>(6); }},
    {"material", [](Output& output) { readWell(output), output.model.meshes[0].material = 0; }},
    {"mesh", [](Output& output) { readWell(output), output.model.nodes[0].instances[0].mesh = -2; }},
    {"parent", [](Output& output) { readWell(output), output.model.nodes[0].parent = 0; }},
    {"enum",
     [](Output& output) {
       readWell(output);
       Track track;
       track.node = 0;
       track.path = Path(7);
       track.times = output.array<float>(1);
       track.values = output.array<float>(4);
       output.model.animations.push_back({"", {track}});
     }},
    {"stored",
     [](Output& output) {
       readWell(output), output.model.meshes[0].storedNormals = {1 << 20, 9};
     }},
    {"twice",
     [](Output& output) {
       readWell(output), output.model.meshes[0].storedPositions = {0, 9};
     }},
    {"narrow",
     [](Output& output) {
       readWell(output), output.model.meshes[0].positions = {};
       output.model.meshes[0].storedPositions = {0, 9, 2};
     }},
    {"endless",
     [](Output& output) {
       readWell(output), output.model.meshes[0].positions = {};
       output.model.meshes[0].storedPositions.count = std::uint64_t(3) << 29;
     }},
    {"private",
     [](Output& output) {
       static float own[9];
       readWell(output), output.model.meshes[0].positions = {own, 9};
     }},
    {"picture",
     [](Output& output) {
       readWell(output);
       Image image;
       image.width = image.height = 5;
       image.pixels = output.array<std::uint8_t>(99);
       output.model.images.push_back(image);
     }},
    {"track",
     [](Output& output) {
       readWell(output);
       Track track;
       track.node = 0;
       track.times = output.array<float>(4);
       track.values = output.array<float>(9);
       output.model.animations.push_back({"", {track}});
     }},
    {"bones", [](Output& output) { readSkinned(output), output.model.meshes[0].bones[2] = 1; }},
    {"weights", [](Output& output) { readSkinned(output), output.model.meshes[0].boneWeights.shrink(2); }},
    {"influences", [](Output& output) { readSkinned(output), output.model.meshes[0].influences = 0xFFFFFFFF; }},
    {"skin", [](Output& output) { readSkinned(output), output.model.nodes[0].instances[0].skin = 1; }},
    {"bone", [](Output& output) { readSkinned(output), output.model.skins[0].bones[0].node = 1; }},
    {"shape",
     [](Output& output) {
       readWell(output), output.model.meshes[0].shapes = {{"", output.array<float>(6), {}}};
     }},
    {"behaves", readWell},
    {"bends", readSkinned}};

}  // namespace

NUBO_READER_ENTRY(file, format, output) {
  const auto attempt = Attempts.find(format);
  if (attempt != Attempts.end()) report(attempt->second(file) >= 0);
  Faults.at(format)(output);
}
