// The arguments of one verb, declared by the verb and read into its variables.
//
// Every switch has the name that registry administrators know and a long one: "/v" and "--value" are one, and so are
// "-v" and "/V". A name of several letters, "/ve", is "--ve", too. An argument that begins with a slash and is no
// switch of the verb is an argument like others, such as a path; behind "--" everything is.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kvreg {

class Options {
 public:
  Options(const std::string& verb, const std::string& summary);
  ~Options();
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  // Arguments by their place. name is as the help shows it, such as "KEY".
  void argument(const std::string& name, std::string& target, const std::string& text);
  void optional_argument(const std::string& name, std::string& target, const std::string& text);
  void arguments(const std::string& name, std::vector<std::string>& target, const std::string& text);
  void optional_arguments(const std::string& name, std::vector<std::string>& target, const std::string& text);

  // Switches by names without slash or dashes, "v" or "ve" ("" for none) and "value".
  void flag(const std::string& known, const std::string& name, bool& target, const std::string& text);
  void text(const std::string& known, const std::string& name, std::optional<std::string>& target,
            const std::string& text);

  // A line of the help: a command and what it does.
  void example(const std::string& command, const std::string& text);

  // Reads the arguments behind the verb. True when help was asked for and was printed; throws Bad_Arguments.
  bool parse(const std::vector<std::string>& arguments);

 private:
  std::string switches_of(const std::string& known, const std::string& name);
  std::vector<std::string> translated(const std::vector<std::string>& arguments) const;
  std::string switch_of(const std::string& argument) const;
  bool takes_text(const std::string& option) const;

  std::unique_ptr<CLI::App> app_;
  std::string examples_;
};

}  // namespace kvreg
