#include "inspect/events/Selection.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <stdexcept>

#include <fnmatch.h>

#include "Data/MetaDecoder.h"

#include "inspect/events/CallClasses.h"

namespace Inspect {

namespace {

[[noreturn]] void ThrowInvalid(std::string_view part, const std::string& reason) {
  throw std::invalid_argument("'" + std::string(part) + "' " + reason);
}

// Parts are separated by commas, or by line feeds where several lists were joined.
void ForEachPart(std::string_view list, const std::function<void(std::string_view)>& handle) {
  for (size_t begin = 0; begin <= list.size();) {
    const size_t end = std::min(list.find_first_of(",\n", begin), list.size());
    if (end == begin) {
      ThrowInvalid(list, "has an empty part");
    }
    handle(list.substr(begin, end - begin));
    begin = end + 1;
  }
}

// `part` is the interval that the number is from, for the message.
uint32_t ParseNumber(std::string_view text, std::string_view part) {
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::result_out_of_range) {
    ThrowInvalid(part, "is beyond 4294967295");
  }
  if (error != std::errc() || end != text.data() + text.size()) {
    ThrowInvalid(part, "is neither a number, nor an interval such as 10-20 or 100-");
  }
  return number;
}

Ranges::Range ParseRange(std::string_view part) {
  const size_t dash = part.find('-');
  const uint32_t first = ParseNumber(part.substr(0, dash), part);
  if (dash == std::string_view::npos) {
    return {first, first};
  }
  const std::string_view end = part.substr(dash + 1);
  const uint32_t last = end.empty() ? UINT32_MAX : ParseNumber(end, part);
  if (last < first) {
    ThrowInvalid(part, "ends before it begins");
  }
  return {first, last};
}

bool Matches(const std::string& glob, const char* name) {
  return fnmatch(glob.c_str(), name, 0) == 0;
}

template <typename Handle>
void ForEachCall(Handle handle) {
  for (const Data::Api api : {Data::Api::kEGL, Data::Api::kGLES}) {
    for (const Data::CallDesc& call : Data::AllCalls(api)) {
      handle(call);
    }
  }
}

bool MatchesSomeCall(const std::string& glob) {
  bool found = false;
  ForEachCall([&](const Data::CallDesc& call) { found = found || Matches(glob, call.name); });
  return found;
}

// The name that listings give a record; empty when the decoder does not know it.
std::string RecordName(uint32_t type, uint32_t subtype) {
  const char* name = Data::MetadataRecordName(type, subtype);
  return name != nullptr ? std::string("meta.") + name : std::string();
}

bool MatchesSomeRecord(const std::string& glob) {
  for (uint32_t type = Data::kMetadataText; type <= Data::kMetadataRaw; ++type) {
    for (uint32_t subtype = 1;; ++subtype) {
      const std::string name = RecordName(type, subtype);
      if (!name.empty() && Matches(glob, name.c_str())) {
        return true;
      }
      if (name.empty() || type == Data::kMetadataRaw) {
        break;
      }
    }
  }
  return false;
}

}  // namespace

Ranges::Ranges(std::string_view text) {
  ranges_.clear();
  std::vector<Range> parts;
  ForEachPart(text, [&](std::string_view part) { parts.push_back(ParseRange(part)); });
  std::ranges::sort(parts, {}, &Range::first);
  for (const Range& part : parts) {
    if (!ranges_.empty() && (Last() == UINT32_MAX || part.first <= Last() + 1)) {
      ranges_.back().last = std::max(Last(), part.last);
    } else {
      ranges_.push_back(part);
    }
  }
}

bool Ranges::Contains(uint32_t number) const {
  const Range* range = Next(number);
  return range != nullptr && range->first <= number;
}

const Ranges::Range* Ranges::Next(uint32_t number) const {
  const auto range = std::ranges::lower_bound(ranges_, number, {}, &Range::last);
  return range != ranges_.end() ? &*range : nullptr;
}

const Selection& Selection::Everything() {
  static const Selection everything;
  return everything;
}

void Selection::SetCalls(std::string_view globs) {
  ForEachPart(globs, [this](std::string_view part) {
    const bool excludes = part.front() == '!';
    const std::string glob(part.substr(excludes ? 1 : 0));
    if (!MatchesSomeCall(glob) && !MatchesSomeRecord(glob)) {
      ThrowInvalid(part, "matches no call and no metadata record");
    }
    (excludes ? excluded_ : included_).push_back(glob);
  });
  FindSelectedCalls();
}

void Selection::SetClasses(std::string_view classes) {
  ForEachPart(classes, [this](std::string_view part) {
    const auto* const found = std::ranges::find(kCallClasses, part, Data::CallClassName);
    if (found == std::end(kCallClasses)) {
      std::string names;
      for (const Data::CallClass known : kCallClasses) {
        names += names.empty() ? "" : ", ";
        names += Data::CallClassName(known);
      }
      ThrowInvalid(part, "is no class of calls: there are " + names);
    }
    classes_.push_back(*found);
  });
  FindSelectedCalls();
}

bool Selection::SelectsMetadata(uint32_t type, uint32_t subtype) const {
  if (SelectsAllCalls()) {
    return true;
  }
  // Records have no class.
  const std::string name = RecordName(type, subtype);
  return classes_.empty() && (name.empty() ? included_.empty() : NameIsSelected(name.c_str()));
}

bool Selection::SelectsAllCalls() const {
  return included_.empty() && excluded_.empty() && classes_.empty();
}

bool Selection::NameIsSelected(const char* name) const {
  const auto matches = [name](const std::string& glob) { return Matches(glob, name); };
  return (included_.empty() || std::ranges::any_of(included_, matches)) &&
         std::ranges::none_of(excluded_, matches);
}

void Selection::FindSelectedCalls() {
  if (included_.empty() && classes_.empty()) {
    calls_.set();
  } else {
    calls_.reset();
  }
  ForEachCall([this](const Data::CallDesc& call) {
    const bool classIsSelected =
        classes_.empty() || std::ranges::find(classes_, call.callClass) != classes_.end();
    calls_[static_cast<uint16_t>(call.id)] = classIsSelected && NameIsSelected(call.name);
  });
}

}  // namespace Inspect
