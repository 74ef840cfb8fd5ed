#include <objc/runtime.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "platform/macho/Loading.h"
#include "platform/macho/ObjCMetadata.h"

namespace MachO {
namespace {

template <typename Result>
const Result* Relative(const int32_t& distance) {
  return reinterpret_cast<const Result*>(reinterpret_cast<const uint8_t*>(&distance) + distance);
}

Class Metaclass(Class of) {
  return object_getClass(reinterpret_cast<id>(of));
}

class Registry {
 public:
  explicit Registry(const Image& image) : m_image(image) {}

  void Run() {
    // Relative method lists lead to these references, so they are read before anything else.
    for (SEL& selector : m_image.ArrayIn<SEL>("__objc_selrefs"))
      selector = sel_registerName(reinterpret_cast<const char*>(selector));
    const auto classes = m_image.ArrayIn<ClassRecord*>("__objc_classlist");
    for (ClassRecord* record : classes) Register(record);
    for (const ClassRecord* record : classes) RequireClassesOfIvars(record->Contents());
    for (CategoryRecord* category : m_image.ArrayIn<CategoryRecord*>("__objc_catlist")) Add(*category);
    for (const char* section : {"__objc_classrefs", "__objc_superrefs"})
      for (void*& reference : m_image.ArrayIn<void*>(section)) reference = Known(reference);
  }

 private:
  /// The class of the runtime for a record of the image; other classes as they are.
  void* Known(void* reference) const {
    const auto found = m_known.find(reference);
    if (found == m_known.end() && m_image.Holds(reference))
      throw Unusable("a reference leads to a class that the image does not list");
    return found == m_known.end() ? reference : found->second;
  }

  Class Register(ClassRecord* record) {
    if (const auto found = m_known.find(record); found != m_known.end()) return static_cast<Class>(found->second);
    const ClassContents& contents = record->Contents();
    const Class parent =
        m_image.Holds(record->superclass) ? Register(record->superclass) : reinterpret_cast<Class>(record->superclass);
    const Class made = objc_allocateClassPair(parent, contents.name, 0);
    if (made == nullptr) throw Unusable(std::string("there are two classes ") + contents.name);
    m_known[record] = made;
    m_known[record->metaclass] = Metaclass(made);
    AddIvars(made, contents);
    AddMethods(made, contents.methods);
    AddMethods(Metaclass(made), record->metaclass->Contents().methods);
    AddProtocols(made, contents.protocols);
    objc_registerClassPair(made);
    // The superclass is another than on the other system, so its size is, too.
    for (const IvarEntry& ivar : EntriesOf<IvarEntry>(contents.ivars))
      *ivar.offset = static_cast<IvarOffset>(ivar_getOffset(class_getInstanceVariable(made, ivar.name)));
    return made;
  }

  /// The image's own offsets must be what the compiler lays out; else code that it made from them is wrong.
  static void AddIvars(Class to, const ClassContents& contents) {
    uint32_t end = contents.instanceStart;
    for (const IvarEntry& ivar : EntriesOf<IvarEntry>(contents.ivars)) {
      const uint32_t alignment = 1u << ivar.alignment, place = (end + alignment - 1) & ~(alignment - 1);
      if (*ivar.offset != static_cast<IvarOffset>(place))
        throw Unusable("the instance variable " + std::string(ivar.name) + " of " + contents.name + " is at offset " +
                       std::to_string(*ivar.offset) + " instead of " + std::to_string(place));
      end = place + ivar.size;
      class_addIvar(to, ivar.name, ivar.size, static_cast<unsigned char>(ivar.alignment), ivar.type);
    }
    if (end > contents.instanceSize)
      throw Unusable(std::string("the instances of ") + contents.name + " are smaller than their variables");
  }

  /// An instance variable's type names its class, as in @"NSString".
  static void RequireClassesOfIvars(const ClassContents& contents) {
    for (const IvarEntry& ivar : EntriesOf<IvarEntry>(contents.ivars)) {
      if (std::strncmp(ivar.type, "@\"", 2) != 0) continue;
      const std::string name(ivar.type + 2, std::strcspn(ivar.type + 2, "<\""));
      if (!name.empty() && objc_lookUpClass(name.c_str()) == nullptr)
        throw Unusable("the class " + name + " is missing, of which " + contents.name + " has " + ivar.name);
    }
  }

  static void AddMethods(Class to, const List* methods) {
    if (methods != nullptr && methods->entrySizeAndFlags & kRelativeMethods) {
      const bool direct = methods->entrySizeAndFlags & kDirectSelectors;
      for (const RelativeMethodEntry& entry : EntriesOf<RelativeMethodEntry>(methods))
        AddMethod(to, direct ? sel_registerName(Relative<char>(entry.name)) : *Relative<SEL>(entry.name),
                  Relative<void>(entry.implementation), Relative<char>(entry.types));
    } else {
      for (const MethodEntry& entry : EntriesOf<MethodEntry>(methods))
        AddMethod(to, sel_registerName(entry.name), entry.implementation, entry.types);
    }
  }

  static void AddMethod(Class to, SEL selector, const void* implementation, const char* types) {
    if (std::strcmp(sel_getName(selector), "load") == 0 && class_isMetaClass(to))
      throw Unusable(std::string("the method +load of ") + class_getName(to) + " would not be called here");
    IMP code = nullptr;
    std::memcpy(&code, &implementation, sizeof code);
    if (!class_addMethod(to, selector, code, types))
      throw Unusable(std::string(class_getName(to)) + " has the method " + sel_getName(selector) + " twice");
  }

  /// A protocol exists in GCC's runtime when some class of this program adopts it.
  static void AddProtocols(Class to, const ProtocolList* list) {
    for (uint64_t i = 0; list != nullptr && i < list->count; ++i) {
      const std::string name = list->protocols[i]->name;
      Protocol* const known = objc_getProtocol(name.c_str());
      if (known == nullptr)
        throw Unusable(std::string(class_getName(to)) + " adopts " + name + ", which no class of the loader adopts");
      class_addProtocol(to, known);
    }
  }

  void Add(const CategoryRecord& category) const {
    const auto extended = static_cast<Class>(Known(category.extended));
    AddMethods(extended, category.instanceMethods);
    AddMethods(Metaclass(extended), category.classMethods);
    AddProtocols(extended, category.protocols);
  }

  const Image& m_image;
  std::map<void*, void*> m_known;  ///< classes of the runtime by records of the image
};

}  // namespace

void RegisterClasses(const Image& image) {
  Registry(image).Run();
}

}  // namespace MachO
