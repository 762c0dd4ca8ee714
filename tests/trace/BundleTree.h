// Temporary application bundles with a probe program inside, for tests of what is found from there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct Outcome {
  int status;                    // exit status, or -1 when the program did not exit by itself
  std::vector<std::string> out;  // lines of standard output
  std::vector<std::string> err;  // and of standard error
};

using Environment = std::vector<std::string>;  // "NAME=value"

std::vector<std::string> linesOf(const std::filesystem::path& file);

// A folder of its own with the bundle "host" somewhere in it; gone with the object.
class BundleTree {
 public:
  BundleTree();
  ~BundleTree();
  BundleTree(const BundleTree&) = delete;
  BundleTree& operator=(const BundleTree&) = delete;

  const std::filesystem::path& root() const { return root_; }
  const std::filesystem::path& host() const { return host_; }
  std::filesystem::path plugIns() const { return host_ / "Contents/PlugIns"; }
  std::filesystem::path beside() const { return host_.parent_path(); }

  // Moves the host bundle to be to a path of exactly `bytes` bytes.
  void padHostPath(std::size_t bytes);
  // Makes `folder`/lumtrace.bundle with `code` in it; returns the path of the code.
  static std::filesystem::path addTraceBundle(const std::filesystem::path& folder,
                                              const std::filesystem::path& code);
  // Runs the probe from within the host bundle, without the caller's own trace settings.
  Outcome run(const std::vector<std::string>& arguments, const Environment& environment = {}) const;

 private:
  std::filesystem::path root_;
  std::filesystem::path host_;
};
