#include "platform/script/jsc_glue.h"

#include <unordered_map>
#include <vector>

namespace talvero {

ContextState::ContextState(JSGlobalContextRef ctx) : context(JSGlobalContextRetain(ctx)) {}

ContextState::~ContextState() {
  glue::forget(context);
  JSGlobalContextRelease(context);
}

namespace glue {

namespace {

// Contexts are made and used on the main thread only, so the table needs no lock.
std::unordered_map<JSGlobalContextRef, std::weak_ptr<ContextState>>& liveStates() {
  static auto* states = new std::unordered_map<JSGlobalContextRef, std::weak_ptr<ContextState>>();
  return *states;
}

thread_local JSContextRef callingContext = nullptr;

// Decodes one UTF-8 sequence at `i`; an invalid or cut sequence yields U+FFFD for its lead byte.
uint32_t decodeUtf8(std::string_view in, size_t& i) {
  const auto lead = static_cast<unsigned char>(in[i]);
  size_t extra = 0;
  uint32_t codePoint = 0;
  uint32_t minimum = 0;
  if (lead < 0x80) {
    ++i;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    extra = 1, codePoint = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, codePoint = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, codePoint = lead & 0x07, minimum = 0x10000;
  } else {
    ++i;
    return 0xFFFD;
  }
  if (i + extra >= in.size()) {  // cut short at the end
    ++i;
    return 0xFFFD;
  }
  for (size_t k = 1; k <= extra; ++k) {
    const auto next = static_cast<unsigned char>(in[i + k]);
    if ((next & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    codePoint = (codePoint << 6) | (next & 0x3F);
  }
  i += extra + 1;
  if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
    return 0xFFFD;
  }
  return codePoint;
}

std::u16string utf8ToUtf16(std::string_view in) {
  std::u16string out;
  out.reserve(in.size());
  size_t i = 0;
  while (i < in.size()) {
    uint32_t codePoint = decodeUtf8(in, i);
    if (codePoint >= 0x10000) {
      codePoint -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (codePoint >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(codePoint));
    }
  }
  return out;
}

NativeValue convert(JSContextRef ctx, JSValueRef value, std::vector<JSObjectRef>& path);

NativeValue convertObject(JSContextRef ctx, JSObjectRef object, std::vector<JSObjectRef>& path) {
  for (JSObjectRef seen : path) {
    if (seen == object) return {};  // a cycle
  }
  path.push_back(object);
  NativeValue result;
  if (JSValueIsArray(ctx, object)) {
    NativeValue::Array array;
    JSStringRef lengthName = JSStringCreateWithUTF8CString("length");
    const double length =
        JSValueToNumber(ctx, JSObjectGetProperty(ctx, object, lengthName, nullptr), nullptr);
    JSStringRelease(lengthName);
    const auto count = length > 0 ? static_cast<uint32_t>(length) : 0u;
    array.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      array.push_back(convert(ctx, JSObjectGetPropertyAtIndex(ctx, object, i, nullptr), path));
    }
    result = std::move(array);
  } else {
    NativeValue::Dict dict;
    JSPropertyNameArrayRef names = JSObjectCopyPropertyNames(ctx, object);
    const size_t count = JSPropertyNameArrayGetCount(names);
    dict.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      JSStringRef name = JSPropertyNameArrayGetNameAtIndex(names, i);
      JSValueRef entry = JSObjectGetProperty(ctx, object, name, nullptr);
      dict.emplace_back(toUtf8(name), convert(ctx, entry, path));
    }
    JSPropertyNameArrayRelease(names);
    result = std::move(dict);
  }
  path.pop_back();
  return result;
}

NativeValue convert(JSContextRef ctx, JSValueRef value, std::vector<JSObjectRef>& path) {
  switch (JSValueGetType(ctx, value)) {
    case kJSTypeUndefined:
    case kJSTypeNull:
    case kJSTypeSymbol:
      return {};
    case kJSTypeBoolean:
      return JSValueToBoolean(ctx, value);
    case kJSTypeNumber:
      return JSValueToNumber(ctx, value, nullptr);
    case kJSTypeString:
      return valueToString(ctx, value);
    default:
      break;
  }
  JSObjectRef object = JSValueToObject(ctx, value, nullptr);
  return object ? convertObject(ctx, object, path) : NativeValue();
}

}  // namespace

void forget(JSGlobalContextRef context) {
  liveStates().erase(context);
}

std::shared_ptr<ContextState> stateFor(JSContextRef ctx) {
  JSGlobalContextRef global = JSContextGetGlobalContext(ctx);
  static JSGlobalContextRef lastContext = nullptr;
  static std::weak_ptr<ContextState> lastState;
  if (global == lastContext) {
    if (auto state = lastState.lock()) return state;
  }
  auto& states = liveStates();
  std::shared_ptr<ContextState> state;
  if (auto found = states.find(global); found != states.end()) state = found->second.lock();
  if (!state) {
    state = std::make_shared<ContextState>(global);
    states[global] = state;
  }
  lastContext = global;
  lastState = state;
  return state;
}

ScriptValue wrap(JSContextRef ctx, JSValueRef value) {
  return wrap(stateFor(ctx), value);
}

ScriptValue wrap(const std::shared_ptr<ContextState>& state, JSValueRef value) {
  if (!value) value = JSValueMakeUndefined(state->context);
  return ScriptValue(state, value);
}

void report(const std::shared_ptr<ContextState>& state, JSValueRef exception) {
  if (!state || !state->exceptionHandler) return;
  // A copy: the handler may replace itself while it runs.
  auto handler = state->exceptionHandler;
  handler(ScriptContext(state), wrap(state, exception));
}

std::string toUtf8(JSStringRef text) {
  const size_t capacity = JSStringGetMaximumUTF8CStringSize(text);
  std::string out(capacity, '\0');
  const size_t written = JSStringGetUTF8CString(text, out.data(), capacity);
  out.resize(written > 0 ? written - 1 : 0);
  return out;
}

JSStringRef makeString(std::string_view utf8) {
  bool ascii = true;
  for (char c : utf8) {
    if (static_cast<unsigned char>(c) >= 0x80 || c == '\0') {
      ascii = false;
      break;
    }
  }
  if (ascii) return JSStringCreateWithUTF8CString(std::string(utf8).c_str());
  const std::u16string wide = utf8ToUtf16(utf8);
  return JSStringCreateWithCharacters(reinterpret_cast<const JSChar*>(wide.data()), wide.size());
}

JSValueRef makeStringValue(JSContextRef ctx, std::string_view utf8) {
  JSStringRef text = makeString(utf8);
  JSValueRef value = JSValueMakeString(ctx, text);
  JSStringRelease(text);
  return value;
}

std::string valueToString(JSContextRef ctx, JSValueRef value, bool* threw) {
  JSValueRef exception = nullptr;
  JSStringRef text = JSValueToStringCopy(ctx, value, &exception);
  if (threw) *threw = text == nullptr || exception != nullptr;
  if (!text) return {};
  std::string out = toUtf8(text);
  JSStringRelease(text);
  return out;
}

JSValueRef toEngine(JSContextRef ctx, const NativeValue& value) {
  if (value.isNull()) return JSValueMakeNull(ctx);
  if (value.isBool()) return JSValueMakeBoolean(ctx, value.asBool());
  if (value.isNumber()) return JSValueMakeNumber(ctx, value.asNumber());
  if (value.isString()) return makeStringValue(ctx, value.asString());
  if (value.isScriptValue()) {
    const ScriptValue& held = value.asScriptValue();
    return held.empty() ? JSValueMakeUndefined(ctx) : held.raw();
  }
  if (value.isArray()) {
    const auto& array = value.asArray();
    std::vector<JSValueRef> elements;
    elements.reserve(array.size());
    for (const auto& element : array) elements.push_back(toEngine(ctx, element));
    return JSObjectMakeArray(ctx, elements.size(), elements.data(), nullptr);
  }
  JSObjectRef object = JSObjectMake(ctx, nullptr, nullptr);
  for (const auto& [key, entry] : value.asDict()) {
    JSStringRef name = makeString(key);
    JSObjectSetProperty(ctx, object, name, toEngine(ctx, entry), kJSPropertyAttributeNone, nullptr);
    JSStringRelease(name);
  }
  return object;
}

NativeValue fromEngine(JSContextRef ctx, JSValueRef value) {
  std::vector<JSObjectRef> path;
  return convert(ctx, value, path);
}

JSClassRef makeFunctionClass(const char* name, JSObjectCallAsFunctionCallback call,
                             JSObjectFinalizeCallback finalize) {
  JSClassDefinition definition = kJSClassDefinitionEmpty;
  definition.className = name;
  definition.callAsFunction = call;
  definition.finalize = finalize;
  return JSClassCreate(&definition);
}

JSContextRef currentCallingContext() {
  return callingContext;
}

CallingScope::CallingScope(JSContextRef ctx) : previous_(callingContext) {
  callingContext = ctx;
}
CallingScope::~CallingScope() {
  callingContext = previous_;
}

}  // namespace glue
}  // namespace talvero
