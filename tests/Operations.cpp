#include "Operations.h"

#include "project/sharing/profiles/ExportProfileErrors.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "project/sharing/profiles/HostLayout.h"
#include "project/sharing/profiles/LabelFilter.h"

namespace operations {

using namespace project::sharing::profiles;
using namespace ORCHID::project::sharing;
using memory_host::LabelKey;
using memory_host::MemoryProject;
using memory_host::narrow;
using samples::Items;

namespace {

using W = World;  // for rows that keep to a line
using Profiles = std::vector<std::shared_ptr<ExportProfile>>;
using UuidNotFound =
    foundation::core::except::Exception<ExportProfileUuidNotFound, project::exception::ProjectException>;
using Error = std::unique_ptr<const UuidNotFound>;

const LabelKey I{u"c", u"i"}, K{u"c", u"k"}, J{u"e", u"j"}, P{u"p", u"p"};
const ExportStrategyItem i{u"c", u"i"}, j{u"e", u"j"}, k{u"c", u"k"}, n{u"b", u"n"}, p{u"p", u"p"};

const std::u16string longKind = u"a kind of some length", longName = u"a name of some length";
const Items none, twiceJ{j, {}, j, i, {longKind, longName}}, jnk{j, n, k}, jp{j, p};
const std::string noUuid = "ExportProfileUuidNotFound", noName = "ExportProfileNameNotFound",
                  isTaken = "ExportProfileAlreadyExists", idOfNoUuid = "ORCHID:project:sharing:" + noUuid;

std::string uuidsOf(const Profiles& profiles) {
  std::string uuids;
  for (const auto& profile : profiles) uuids += narrow(profile->getUUID());
  return uuids;
}

std::string textOf(const ExportFilter& filter) {
  std::string text = narrow(filter.getType());
  for (const auto& item : filter.getItems()) text += " " + narrow(item.category) + "/" + narrow(item.labelUUID);
  return text;
}

std::string lineOf(const char* name, const ExportProfile& profile) {
  std::string line = name;
  for (const auto& filter : profile.getFilters()) line += ", " + textOf(*filter);
  return line;
}

// A profile's node has a name, an item's node a category; a UUID that was made is "?".
void addNodes(Lines& lines, project::metadata::MetadataManager& metadata, const project::metadata::MetadataPath& top) {
  for (const auto& path : metadata.getChildPaths(top)) {
    const std::size_t depth = path.getElements().size();
    std::string line = narrow(path.getLeaf().getType());
    for (std::size_t level = 1; level < depth; ++level) {
      const std::u16string& location = path.getElements()[level].getLocation();
      line += " " + (location.size() == MADE_UUID ? "?" : narrow(location));
    }
    if (depth == 2) line += " " + narrow(metadata.getNode(path)->getValue(u"Name"));
    if (depth == 4) line += " " + narrow(metadata.getNode(path)->getValue(u"Data"));
    lines.push_back(line);
    if (depth < 4) addNodes(lines, metadata, path);
  }
}

std::string applyLabel(W& w, const std::u16string& kind, const Items& items) {
  LabelFilter filter(kind);
  filter.addItems(items);
  return filter.apply(*w.project), "done";
}

std::string applyFile(W& w, const std::u16string& kind, const Items& items) {
  const auto filter = samples::filterOf(INCLUDE_FILES_WITH_LABEL, items);
  filter->setType(kind);
  return filter->apply(*w.project), "done";
}

project::sharing::SerializationData withoutMetadata() {
  const auto project = std::make_shared<MemoryProject>();
  project->metadata.reset();
  project::sharing::SerializationData data;
  data.projectManagers[data.projectPath] = project;
  return data;
}

std::string applyProfile(W& w, const std::u16string& uuid) {
  return ExportProfileTransformation(uuid).apply(w.data), "done";
}

// Of a copy, which takes memory too.
template <class Record>
std::string argumentOf(const Record& record) {
  Record copy(u"");
  copy = Record(record);
  return copy.arguments.size() == 1 ? narrow(std::get<std::u16string>(copy.arguments[0])) : "no argument";
}

// What is done with an error that was caught.
std::string caught(const std::function<std::string(const UuidNotFound&)>& use) {
  try {
    createManager(std::make_shared<memory_host::MemoryMetadata>())->getProfileByUUID(longName);
  } catch (const UuidNotFound& error) {
    return use(error);
  }
  return "nothing was thrown";
}

const std::string onlyK = "+category c protected k; ", wasC = "-category c i protected k; ";
const std::string withoutI = onlyK + "+file /p/d/secret p; +file /p/note; +folder /p/d; " + wasC +
                             "-file /p/d/secret i p; -file /p/note i; -folder /p/d i";
const std::string withoutIAndJ = onlyK + "+file /p/d/secret p; +file /p/note; +folder /p/d; " + wasC +
                                 "-category e j; -file /p/d/secret i p; -file /p/note i; -folder /p/d i";
const std::string shareOfFirst =
    onlyK + wasC + "-category e j; -file /p/d/open; -file /p/d/secret i p; -file /p/note i; -folder /p/d i";
const std::string deletedOthers = "-Filter 1 no kind; -Filter 1 no kind i c; -filter 1 Label no item c";
const std::string deletedFirst =
    "-ExportProfile 1 zeta; -Filter 1 FileLabel; -Filter 1 FileLabel i c; -Filter 1 IncludeFilesWithLabel; "
    "-Filter 1 IncludeFilesWithLabel i c; -Filter 1 IncludeFilesWithLabel p p; -Filter 1 IncludeLabels; "
    "-Filter 1 IncludeLabels p p; -Filter 1 Label; -Filter 1 Label i c; " +
    deletedOthers;
const std::string filtersOfFirst = ", IncludeFilesWithLabel c/i p/p, FileLabel c/i, IncludeLabels p/p, Label c/i";

// The line of `edited` becomes this one.
std::string edit(const std::string& line) {
  return "+edited, " + line + "; -edited, FileLabel b/n c/i, IncludeLabels, Label";
}

}  // namespace

MemoryProject sampleProject() {
  MemoryProject project;
  project.addLabel(I.first, I.second);
  project.addLabel(K.first, K.second, 0);
  project.addLabel(J.first, J.second);
  project.addLabel(P.first, P.second);
  project.categories.insert(u"empty");
  project.addFolder(u"/p/d", {I});
  project.addFile(u"/p/d/open");
  project.addFile(u"/p/d/secret", {I, P});
  project.addFile(u"/p/note", {I});
  project.addFile(u"/p/plain", {P});
  const auto manager = createManager(project.metadata);
  const auto first = manager->createProfile(u"zeta", u"1");
  for (const auto& kind : {EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL}) first->addFilter(kind, {i});
  first->addFilter(INCLUDE_FILES_WITH_LABEL, {i, p});
  first->addFilter(INCLUDE_LABEL, {p});
  first->save();
  samples::storeTwins(*project.metadata);
  samples::store(*project.metadata, {{u"Export", u"Root"}, {u"ExportProfile", u"2"}, {u"Filter", INCLUDE_LABEL}});
  manager->createProfile(u"deleted", u"4");
  const project::metadata::PathElement root(u"Export", u"Root"), one(u"ExportProfile", u"1");
  samples::store(*project.metadata, {root, {u"exportprofile", u"no profile"}}, u"Name", u"zeta");
  samples::store(*project.metadata, {root, one, {u"Filter", EXCLUDE_LABEL}, {u"filter", u"no item"}}, u"Data", u"c");
  samples::store(*project.metadata, {root, one, {u"Filter", u"no kind"}, {u"Filter", u"i"}}, u"Data", u"c");
  return project;
}

World::World(std::shared_ptr<project::management::ProjectManager> sample)
    : host(std::move(sample)), project(memory_host::probed(*host, probe)) {
  manager = createManager(project->getMetadataManager());
  const Profiles profiles = manager->getProfiles();
  deleted = profiles.at(0);
  edited = profiles.at(1);
  first = profiles.at(3);
  manager->deleteProfile(deleted);
  edited->addFilter(EXCLUDE_FILES_WITH_LABEL, {i, n});
  edited->addFilter(EXCLUDE_LABEL, {});
  data.projectManagers[memory_host::Path(u"/p", true)] = project;
  data.projectPath = memory_host::Path(u"/p", false);  // the flag is no part of a path's identity
}

Lines storedIn(const World& world) {
  const auto metadata = world.host->getMetadataManager();
  const auto scope = metadata->beginReadScope();
  Lines lines;
  addNodes(lines, *metadata, samples::pathOf({{u"Export", u"Root"}}));
  return lines;
}

Lines othersIn(const World& world) {
  Lines lines = {lineOf("first", *world.first), lineOf("edited", *world.edited)};
  const auto add = [&](const char* what, const std::u16string& name, const std::set<std::string>& labels) {
    std::string& line = lines.emplace_back(what + (' ' + narrow(name)));
    for (const std::string& label : labels) line += ' ' + label;
  };
  const auto& labels = world.host->getLabelManager();
  for (const auto& category : labels.getCategories()) {
    std::set<std::string> held;
    for (const auto& label : labels.getLabels(category)) {
      held.insert((label.isRemovable() == 0 ? "protected " : "") + narrow(label.getUUID()));
    }
    add("category", category.toString(), held);
  }
  auto& files = world.host->getFileManager();
  for (const auto& file : files.getFiles()) {
    std::set<std::string> attached;
    for (const auto& label : files.getFileLabels(file)) attached.insert(narrow(label.getUUID()));
    add(files.isFolder(file) ? "folder" : "file", file.text(), attached);
  }
  return lines;
}

std::string outcome(const Operation& operation, World& world) {
  try {
    return operation.run(world);
  } catch (const foundation::core::except::IMsgIDException& error) {
    return error.GetBaseMsgIDObj().key;
  } catch (const std::out_of_range&) {
    return "out of range";
  }
}

// tests/checks/operations reads the names, and that each row calls what it names.
const std::vector<Operation> all = {
    {"createManager", [](W& w) { return createManager(w.host->getMetadataManager()) ? "made" : ""; }, "made"},
    {"createManager", [](W&) { return createManager(nullptr) ? "made" : ""; }, "ExportProfilesStartupFailure"},
    {"Manager::getProfiles", [](W& w) { return uuidsOf(w.manager->getProfiles()); }, "231"},
    {"Manager::getProfileByName", [](W& w) { return uuidsOf({w.manager->getProfileByName(u"zeta")}); }, "1"},
    {"Manager::getProfileByName", [](W& w) { return uuidsOf({w.manager->getProfileByName(u"Zeta")}); }, noName},
    {"Manager::getProfileByName", [](W& w) { return uuidsOf({w.manager->getProfileByName(u"twin")}); },
     "ExportProfileNameNotUnique"},
    {"Manager::getProfileByUUID", [](W& w) { return lineOf("1", *w.manager->getProfileByUUID(u"1")); },
     "1" + filtersOfFirst},
    {"Manager::getProfileByUUID", [](W& w) { return lineOf("", *w.manager->getProfileByUUID(u"")); }, noUuid},
    {"Manager::createProfile", [](W& w) { return lineOf("new", *w.manager->createProfile(longName, u"5")); }, "new",
     "+ExportProfile 5 a name of some length"},
    {"Manager::createProfile", [](W& w) { return w.manager->createProfile(u"x", u"2"), "renamed"; }, "renamed",
     "+ExportProfile 2 x; -ExportProfile 2 twin"},
    {"Manager::createProfile", [](W& w) { return lineOf("same", *w.manager->createProfile(u"zeta", u"1")); },
     "same" + filtersOfFirst},
    {"Manager::createProfile", [](W& w) { return w.manager->createProfile(u"twin", u"2"), "made"; }, isTaken},
    {"Manager::createProfile", [](W& w) { return w.manager->createProfile(u"fresh"), "made"; }, "made",
     "+ExportProfile ? fresh", isTaken},
    {"Manager::createProfile", [](W& w) { return w.manager->createProfile(u"zeta"), "made"; }, isTaken},
    {"Manager::deleteProfile", [](W& w) { return w.manager->deleteProfile(w.first), "done"; }, "done", deletedFirst},
    {"Manager::deleteProfile", [](W& w) { return w.manager->deleteProfile(w.deleted), "done"; }, "done"},

    {"Profile::getName", [](W& w) { return narrow(w.first->getName()); }, "zeta"},
    {"Profile::getName", [](W& w) { return narrow(w.deleted->getName()); }, "out of range"},
    {"Profile::setName", [](W& w) { return w.first->setName(u"twin"), "done"; }, "done",
     "+ExportProfile 1 twin; -ExportProfile 1 zeta"},
    {"Profile::setName", [](W& w) { return w.deleted->setName(u"x"), "done"; }, "out of range"},
    {"Profile::getUUID", [](W& w) { return narrow(w.deleted->getUUID()); }, "4"},
    {"Profile::getFilters", [](W& w) { return std::to_string(w.first->getFilters().size()); }, "4"},
    {"Profile::addFilter", [](W& w) { return w.edited->addFilter(EXCLUDE_LABEL, twiceJ), "done"; }, "done",
     edit("FileLabel b/n c/i, IncludeLabels, Label, Label / a kind of some length/a name of some length c/i e/j")},
    {"Profile::addFilter", [](W& w) { return w.edited->addFilter(INCLUDE_LABEL, {}), "done"; }, "done",
     edit("FileLabel b/n c/i, IncludeLabels, Label, IncludeLabels")},
    {"Profile::addFilter", [](W& w) { return w.edited->addFilter(EXCLUDE_FILES_WITH_LABEL, {j}), "done"; }, "done",
     edit("FileLabel e/j, FileLabel b/n c/i, IncludeLabels, Label")},
    {"Profile::addFilter", [](W& w) { return w.edited->addFilter(INCLUDE_FILES_WITH_LABEL, {}), "done"; }, "done",
     edit("IncludeFilesWithLabel, FileLabel b/n c/i, IncludeLabels, Label")},
    {"Profile::addFilter", [](W& w) { return w.edited->addFilter(u"label", {i}) ? "made" : "no kind"; }, "no kind"},
    {"Profile::removeFilter", [](W& w) { return w.edited->removeFilter(w.edited->getFilters()[1]), "done"; }, "done",
     edit("FileLabel b/n c/i, Label")},
    {"Profile::removeFilter", [](W& w) { return w.edited->removeFilter(w.edited->getFilters()[0]), "done"; }, "done",
     edit("IncludeLabels, Label")},
    {"Profile::removeFilter", [](W& w) { return w.edited->removeFilter(w.first->getFilters()[0]), "last"; }, "last",
     edit("FileLabel b/n c/i, IncludeLabels")},
    {"Profile::removeFilter", [](W& w) { return w.deleted->removeFilter(nullptr), "nothing there"; }, "nothing there"},
    {"Profile::save", [](W& w) { return w.edited->save(), "done"; }, "done",
     "+Filter 2 FileLabel; +Filter 2 FileLabel i c; +Filter 2 FileLabel n b; +Filter 2 Label"},
    {"Profile::save", [](W& w) { return w.first->save(), "done"; }, "done", deletedOthers},
    {"Profile::apply", [](W& w) { return w.first->apply(*w.project), "done"; }, "done", shareOfFirst},
    {"Profile::apply", [](W& w) { return w.deleted->apply(*w.project), "nothing"; }, "nothing"},

    {"FilterBase::FilterBase", [](W&) { return textOf(ExportFilterBase(longKind)); }, narrow(longKind)},
    {"FilterBase::apply", [](W& w) { return ExportFilterBase(longKind).apply(*w.project), "done"; }, "done"},
    {"FilterBase::getType", [](W& w) { return narrow(w.editedFilter().getType()); }, "FileLabel"},
    {"FilterBase::setType", [](W& w) { return w.editedFilter().setType(longKind), "done"; }, "done",
     edit("a kind of some length b/n c/i, IncludeLabels, Label")},
    {"FilterBase::getItems", [](W& w) { return std::to_string(w.editedFilter().getItems().size()); }, "2"},
    {"FilterBase::addItems", [](W& w) { return w.editedFilter().addItems(twiceJ), "done"; }, "done",
     edit("FileLabel / a kind of some length/a name of some length b/n c/i e/j, IncludeLabels, Label")},
    {"FilterBase::addItems", [](W& w) { return w.editedFilter().addItems({}), "none"; }, "none"},
    {"FilterBase::removeItems", [](W& w) { return w.editedFilter().removeItems({n}), "done"; }, "done",
     edit("FileLabel c/i, IncludeLabels, Label")},
    {"FilterBase::removeItems", [](W& w) { return w.editedFilter().removeItems({j}), "the last one"; }, "the last one",
     edit("FileLabel b/n, IncludeLabels, Label")},
    {"FilterBase::removeItems", [](W& w) { return w.editedFilter().removeItems(twiceJ), "all"; }, "all",
     edit("FileLabel, IncludeLabels, Label")},
    {"LabelFilter::LabelFilter", [](W&) { return textOf(LabelFilter(longKind)); }, narrow(longKind)},
    {"LabelFilter::apply", [](W& w) { return w.filter(3).apply(*w.project), "exclude"; }, "exclude", withoutI},
    {"LabelFilter::apply", [](W& w) { return w.filter(2).apply(*w.project), "include"; }, "include", withoutIAndJ},
    {"LabelFilter::apply", [](W& w) { return applyLabel(w, EXCLUDE_LABEL, jnk); }, "done", "-category e j"},
    {"LabelFilter::apply", [](W& w) { return applyLabel(w, INCLUDE_LABEL, none); }, "done"},
    {"LabelFilter::apply", [](W& w) { return applyLabel(w, longKind, jp); }, "done", withoutI},
    {"Filter::apply", [](W& w) { return w.filter(0).apply(*w.project), "include files"; }, "include files",
     "-file /p/d/open"},
    {"Filter::apply", [](W& w) { return w.filter(1).apply(*w.project), "exclude files"; }, "exclude files",
     "-file /p/d/secret i p; -file /p/note i"},
    {"Filter::apply", [](W& w) { return applyFile(w, EXCLUDE_FILES_WITH_LABEL, none); }, "done"},
    {"Filter::apply", [](W& w) { return applyFile(w, INCLUDE_FILES_WITH_LABEL, none); }, "done",
     "-file /p/d/open; -file /p/d/secret i p; -file /p/note i; -file /p/plain p; -folder /p/d i"},
    {"Filter::apply", [](W& w) { return applyFile(w, longKind, jp); }, "done",
     "-file /p/d/secret i p; -file /p/note i"},

    {"ProfileTransformation::ProfileTransformation",
     [](W&) { return narrow(ExportProfileTransformation(longName).getUUID()); }, narrow(longName)},
    {"ProfileTransformation::getUUID", [](W&) { return narrow(ExportProfileTransformation(u"").getUUID()); }, ""},
    {"ProfileTransformation::apply", [](W& w) { return applyProfile(w, u"1"); }, "done", shareOfFirst},
    {"ProfileTransformation::apply", [](W& w) { return applyProfile(w, u"wholeproject"); }, "done"},
    {"ProfileTransformation::apply", [](W& w) { return applyProfile(w, u"WholeProject"); }, noUuid},
    {"ProfileTransformation::apply", [](W& w) { return w.data = {}, applyProfile(w, u"1"); }, "out of range"},
    {"ProfileTransformation::apply", [](W& w) { return w.data = {}, applyProfile(w, u"wholeproject"); }, "done"},
    {"ProfileTransformation::apply", [](W& w) { return w.data = withoutMetadata(), applyProfile(w, u"1"); },
     "ExportProfilesStartupFailure"},
    {"getWholeProjectUUID", [](W&) { return narrow(getWholeProjectUUID()); }, "wholeproject"},
    {"StrategyItem::StrategyItem", [](W&) { return narrow(ExportStrategyItem().category); }, ""},
    {"StrategyItem::StrategyItem", [](W&) { return narrow(ExportStrategyItem(longName, u"").category); },
     narrow(longName)},
    {"operator==", [](W&) { return i == ExportStrategyItem(i) && !(i == j) ? "right" : "wrong"; }, "right"},
    {"operator<", [](W&) { return i < j && !(j < i) && !(i < ExportStrategyItem(i)) ? "right" : "wrong"; }, "right"},

    {"hostLayoutDifferences",
     [](W&) {
       HostLayout layout = hostLayout();
       layout.push_back({"unknown", host_layout::placeOf(&project::metadata::PathElement::getType)});
       layout.at(1).value += "0";
       const auto differences = hostLayoutDifferences(layout);
       const bool found = differences.size() == 1 && differences[0].rfind(layout[1].name, 0) == 0;
       return found && layout.back().value == "none" ? "right" : "wrong";
     },
     "right"},
    {"ErrorRecord::ErrorRecord",
     [](W&) {
       const ErrorRecord record("key", longName);
       return narrow(std::get<std::u16string>(ErrorRecord(record).arguments.at(0)));
     },
     narrow(longName)},
    {"ProfileUuidNotFound::ProfileUuidNotFound", [](W&) { return argumentOf(ExportProfileUuidNotFound(longName)); },
     narrow(longName)},
    {"ProfileNameNotFound::ProfileNameNotFound", [](W&) { return argumentOf(ExportProfileNameNotFound(longName)); },
     narrow(longName)},
    {"ProfileNameNotUnique::ProfileNameNotUnique", [](W&) { return argumentOf(ExportProfileNameNotUnique(longName)); },
     narrow(longName)},
    {"ProfileAlreadyExists::ProfileAlreadyExists", [](W&) { return ExportProfileAlreadyExists().key; }, isTaken},
    {"ProfilesStartupFailure::ProfilesStartupFailure", [](W&) { return ExportProfilesStartupFailure().key; },
     "ExportProfilesStartupFailure"},
    {"Exception::GetBaseMsgIDObj", [](W&) { return caught([](auto& e) { return e.GetBaseMsgIDObj().key; }); }, noUuid},
    {"Exception::GetID", [](W&) { return caught([](auto& e) { return e.GetID(); }); }, idOfNoUuid},
    {"Exception::GetUnicodeMessageTxt",
     [](W&) { return caught([](auto& e) { return e.GetUnicodeMessageTxt().empty() ? "none" : "some"; }); }, "some"},
    {"Exception::what", [](W&) { return caught([](auto& e) { return e.what() ? "some" : "none"; }); }, "some"},
    {"Exception::clone", [](W&) { return caught([](auto& e) { return Error(e.clone())->GetID(); }); }, idOfNoUuid},
    {"Exception::rethrow", [](W&) { return caught([](auto& e) { return e.rethrow(), ""; }); }, noUuid},
};

}  // namespace operations
