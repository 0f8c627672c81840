#include "tools/kvreg/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

constexpr int one_text = 1;

CLI::callback_t into(std::string& target) {
  return [&target](const CLI::results_t& given) {
    target = given.front();
    return true;
  };
}

CLI::callback_t into(std::optional<std::string>& target) {
  return [&target](const CLI::results_t& given) {
    target = given.back();
    return true;
  };
}

CLI::callback_t into(std::vector<std::string>& target) {
  return [&target](const CLI::results_t& given) {
    target = given;
    return true;
  };
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& each : words) text += (text.empty() ? "" : " ") + each;
  return text;
}

std::string dashed(const std::string& name) { return (name.size() == 1 ? "-" : "--") + name; }

}  // namespace

Options::Options(const std::string& verb, const std::string& summary)
    : app_(std::make_unique<CLI::App>(summary, "kvreg " + verb)) {
  app_->set_help_flag("-h,--help", "Shows this help; also /?");
}

Options::~Options() = default;

void Options::argument(const std::string& name, std::string& target, const std::string& text) {
  app_->add_option(name, into(target), text)->required()->expected(one_text)->type_name("");
}

void Options::optional_argument(const std::string& name, std::string& target, const std::string& text) {
  app_->add_option(name, into(target), text)->expected(one_text)->type_name("");
}

void Options::arguments(const std::string& name, std::vector<std::string>& target, const std::string& text) {
  optional_arguments(name, target, text);
  app_->get_option(name)->required();
}

void Options::optional_arguments(const std::string& name, std::vector<std::string>& target, const std::string& text) {
  constexpr int one_or_more = -1;
  app_->add_option(name, into(target), text)
      ->expected(one_or_more)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("");
}

void Options::flag(const std::string& known, const std::string& name, bool& target, const std::string& text) {
  app_->add_flag_function(
      switches_of(known, name), [&target](std::int64_t) { target = true; },
      (known.empty() ? "" : "/" + known + ": ") + text);
}

void Options::text(const std::string& known, const std::string& name, std::optional<std::string>& target,
                   const std::string& text) {
  app_->add_option(switches_of(known, name), into(target), (known.empty() ? "" : "/" + known + ": ") + text)
      ->expected(one_text)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->type_name("TEXT");
}

void Options::example(const std::string& command, const std::string& text) {
  examples_ += "  " + command + "\n      " + text + "\n";
}

bool Options::parse(const std::vector<std::string>& arguments) {
  app_->footer("Examples:\n" + examples_);
  std::vector<std::string> given = translated(arguments);
  std::reverse(given.begin(), given.end());
  try {
    app_->parse(given);
  } catch (const CLI::CallForHelp&) {
    put(app_->help());
    return true;
  } catch (const CLI::ExtrasError&) {
    throw Bad_Arguments("not expected: " + joined(app_->remaining()));
  } catch (const CLI::ParseError& error) {
    throw Bad_Arguments(error.what());
  }
  return false;
}

std::string Options::switches_of(const std::string& known, const std::string& name) {
  return known.empty() ? dashed(name) : dashed(known) + "," + dashed(name);
}

// Texts of switches are handed on with "=", so that one which looks like a switch is still a text.
std::vector<std::string> Options::translated(const std::vector<std::string>& arguments) const {
  std::vector<std::string> out;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--") {
      out.insert(out.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
      break;
    }
    const std::string option = switch_of(arguments[i]);
    out.push_back(option.empty() ? arguments[i] : option);
    if (takes_text(out.back()) && i + 1 < arguments.size()) out.push_back(arguments[++i]);
  }
  return out;
}

// "-v" for "/v" and "--ve" for "/VE"; empty for what is no switch with a slash.
std::string Options::switch_of(const std::string& argument) const {
  if (argument.size() < 2 || argument.front() != '/') return {};
  if (argument == "/?") return "--help";
  const std::string option = dashed(lower_case(argument.substr(1)));
  return app_->get_option_no_throw(option) != nullptr ? option : std::string();
}

bool Options::takes_text(const std::string& option) const {
  if (option.size() < 2 || option.front() != '-') return false;
  const CLI::Option* const found = app_->get_option_no_throw(option);
  return found != nullptr && found->get_items_expected_min() > 0;
}

}  // namespace kvreg
