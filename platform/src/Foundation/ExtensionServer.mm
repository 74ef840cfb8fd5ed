#include "platform/src/Foundation/ExtensionServer.h"

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <map>
#include <vector>

#import "platform/src/Foundation/ExceptionSeam.h"
#import "platform/src/Foundation/Owned.h"
#import "platform/src/Foundation/WireObjects.h"
#import "platform/testing/TKTesting.h"
#include "platform/wire/Client.h"

using json = nlohmann::json;
using Wire::Message;

namespace {

Message Result(json result = json::object(), NSData *attachment = nil) {
  return {{{"ok", true}, {"result", std::move(result)}}, Wire::Attachment([attachment bytes], [attachment length])};
}

Message Failure(NSError *error) {
  json description;
  if (error) {
    description = {{"domain", [[error domain] UTF8String]},
                   {"code", [error code]},
                   {"description", [[error localizedDescription] UTF8String]}};
  }
  return {{{"ok", false}, {"error", description}}, {}};
}

Message Raised(NSException *exception) {
  NSString *description = [NSString stringWithFormat:@"%@: %@", [exception name], [exception reason]];
  const json error = {{"domain", "NSException"}, {"code", 0}, {"description", [description UTF8String]}};
  return {{{"ok", false}, {"error", error}}, {}};
}

Message Operated(NSData *output, NSError *error) {
  return output ? Result(json::object(), output) : Failure(error);
}

/// What the service tells an application when the extension has no method for its request.
Message WithoutSuchMethod() {
  return Failure([NSError errorWithDomain:TKErrorDomain code:TKErrorCodeNotImplemented userInfo:nil]);
}

const char *KindOf(TKTokenAuthOperation *operation) {
  if ([operation isKindOfClass:[TKTokenSmartCardPINAuthOperation class]]) {
    return "smartCardPIN";
  }
  return [operation isKindOfClass:[TKTokenPasswordAuthOperation class]] ? "password" : "none";
}

/// Hands over what the user entered. The string is Foundation's and cannot be wiped; it goes with the operation.
void SetPIN(TKTokenAuthOperation *operation, const Wire::Attachment &attachment) {
  NSString *pin = [[[NSString alloc] initWithBytes:attachment.data()
                                            length:attachment.size()
                                          encoding:NSUTF8StringEncoding] autorelease];
  if (!pin) {
    throw BadRequest("the PIN is not UTF-8");
  }
  if ([operation isKindOfClass:[TKTokenSmartCardPINAuthOperation class]]) {
    [(TKTokenSmartCardPINAuthOperation *)operation setPIN:pin];
  } else if ([operation isKindOfClass:[TKTokenPasswordAuthOperation class]]) {
    [(TKTokenPasswordAuthOperation *)operation setPassword:pin];
  }
}

/// The real platform promises the card in the methods of the session's delegate only, and finishWithError: is none.
class CardOutOfReach {
 public:
  CardOutOfReach() { [TKSmartCardTokenSession setCardIsOutOfReach:YES]; }
  ~CardOutOfReach() { [TKSmartCardTokenSession setCardIsOutOfReach:NO]; }
  CardOutOfReach(const CardOutOfReach &) = delete;
  CardOutOfReach &operator=(const CardOutOfReach &) = delete;
};

template <class Entry>
Entry &Known(std::map<int64_t, Entry> &entries, const json &arguments, const char *kind) {
  const auto found = entries.find(arguments.at(kind).get<int64_t>());
  if (found == entries.end()) {
    throw BadRequest("no such " + std::string(kind) + ": " + arguments.at(kind).dump());
  }
  return found->second;
}

}  // namespace

class ExtensionServer::State {
 public:
  explicit State(const ExtensionBundle &bundle);
  Message Answer(const std::string &call, const json &arguments, const Wire::Attachment &attachment);
  void EndEverything();

 private:
  using Handler = Message (State::*)(const json &arguments, const Wire::Attachment &attachment);
  static const std::map<std::string, Handler> &Handlers();

  Message Hello(const json &, const Wire::Attachment &);
  Message CreateToken(const json &, const Wire::Attachment &);
  Message CreateSession(const json &, const Wire::Attachment &);
  Message SupportsOperation(const json &, const Wire::Attachment &);
  Message SignData(const json &, const Wire::Attachment &);
  Message DecryptData(const json &, const Wire::Attachment &);
  Message PerformKeyExchange(const json &, const Wire::Attachment &);
  Message BeginAuth(const json &, const Wire::Attachment &);
  Message FinishAuth(const json &, const Wire::Attachment &);
  Message TerminateSession(const json &, const Wire::Attachment &);
  Message TerminateToken(const json &, const Wire::Attachment &);

  TKTokenSession *SessionOf(const json &arguments);
  void EndSession(int64_t session);
  void EndToken(int64_t token);

  struct Session {
    Owned<TKTokenSession> object;
    int64_t token;
  };
  struct Authentication {
    Owned<TKTokenAuthOperation> object;
    int64_t session;
  };

  // Destroyed from the last to the first: nothing outlives what it was made by.
  ExtensionBundle m_bundle;
  Owned<TKSmartCardTokenDriver> m_driver;
  std::map<int64_t, Owned<TKToken>> m_tokens;
  std::map<int64_t, Session> m_sessions;
  std::map<int64_t, Authentication> m_authentications;
  int64_t m_lastIdentifier = 0;
};

static TKSmartCardTokenDriver *MakeDriver(const std::string &className) {
  Class driverClass = NSClassFromString([NSString stringWithUTF8String:className.c_str()]);
  if (![driverClass isSubclassOfClass:[TKSmartCardTokenDriver class]]) {
    throw ExtensionBundleError("this program has no smart-card token driver class named " + className);
  }
  return [[[driverClass alloc] init] autorelease];
}

ExtensionServer::State::State(const ExtensionBundle &bundle)
    : m_bundle(bundle), m_driver(MakeDriver(bundle.driverClass)) {}

const std::map<std::string, ExtensionServer::State::Handler> &ExtensionServer::State::Handlers() {
  static const std::map<std::string, Handler> handlers = {
      {"hello", &State::Hello},
      {"createToken", &State::CreateToken},
      {"createSession", &State::CreateSession},
      {"supportsOperation", &State::SupportsOperation},
      {"signData", &State::SignData},
      {"decryptData", &State::DecryptData},
      {"performKeyExchange", &State::PerformKeyExchange},
      {"beginAuth", &State::BeginAuth},
      {"finishAuth", &State::FinishAuth},
      {"terminateSession", &State::TerminateSession},
      {"terminateToken", &State::TerminateToken},
  };
  return handlers;
}

Message ExtensionServer::State::Answer(const std::string &call, const json &arguments,
                                       const Wire::Attachment &attachment) {
  const auto handler = Handlers().find(call);
  if (handler == Handlers().end()) {
    throw BadRequest("no such call: " + call);
  }
  return (this->*handler->second)(arguments, attachment);
}

Message ExtensionServer::State::Hello(const json &, const Wire::Attachment &) {
  return Result(
      {{"version", Wire::ProtocolVersion}, {"driverClass", m_bundle.driverClass}, {"classID", m_bundle.classID}});
}

Message ExtensionServer::State::CreateToken(const json &arguments, const Wire::Attachment &) {
  TKSmartCardSlot *slot = [TKSmartCardSlot slotWithName:Text(arguments.at("reader"))];
  TKSmartCard *card = [[[TKSmartCard alloc] initWithSlot:slot] autorelease];
  id<TKSmartCardTokenDriverDelegate> delegate = (id<TKSmartCardTokenDriverDelegate>)[m_driver.get() delegate];
  if (!delegate) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  TKSmartCardToken *token = [delegate tokenDriver:m_driver.get() createTokenForSmartCard:card AID:nil error:&error];
  if (!token) {
    return Failure(error);
  }
  json items = json::array();
  for (TKTokenKeychainItem *item in [[token keychainContents] items]) {
    items.push_back(DescriptionOf(item));
  }
  m_tokens.emplace(++m_lastIdentifier, Owned<TKToken>(token));
  Message answer = Result(
      {{"token", m_lastIdentifier}, {"instanceID", [[token instanceID] UTF8String]}, {"items", std::move(items)}});
  // Whoever cannot learn of the token cannot end it.
  if (!Wire::Fits(answer)) {
    EndToken(m_lastIdentifier);
  }
  return answer;
}

Message ExtensionServer::State::CreateSession(const json &arguments, const Wire::Attachment &) {
  TKToken *token = Known(m_tokens, arguments, "token").get();
  if (![token delegate]) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  TKTokenSession *session = [[token delegate] token:token createSessionWithError:&error];
  if (!session) {
    return Failure(error);
  }
  m_sessions.emplace(++m_lastIdentifier, Session{Owned<TKTokenSession>(session), arguments.at("token")});
  return Result({{"session", m_lastIdentifier}});
}

TKTokenSession *ExtensionServer::State::SessionOf(const json &arguments) {
  return Known(m_sessions, arguments, "session").object.get();
}

Message ExtensionServer::State::SupportsOperation(const json &arguments, const Wire::Attachment &) {
  TKTokenSession *session = SessionOf(arguments);
  id<TKTokenSessionDelegate> delegate = [session delegate];
  const bool asks = [delegate respondsToSelector:@selector(tokenSession:supportsOperation:usingKey:algorithm:)];
  const bool supported = asks && [delegate tokenSession:session
                                      supportsOperation:OperationOf(arguments)
                                               usingKey:DataFromHex(arguments.at("key"))
                                              algorithm:AlgorithmOf(arguments)] != NO;
  return Result({{"supported", supported}});
}

Message ExtensionServer::State::SignData(const json &arguments, const Wire::Attachment &attachment) {
  TKTokenSession *session = SessionOf(arguments);
  id<TKTokenSessionDelegate> delegate = [session delegate];
  if (![delegate respondsToSelector:@selector(tokenSession:signData:usingKey:algorithm:error:)]) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  NSData *signature = [delegate tokenSession:session
                                    signData:Data(attachment)
                                    usingKey:DataFromHex(arguments.at("key"))
                                   algorithm:AlgorithmOf(arguments)
                                       error:&error];
  return Operated(signature, error);
}

Message ExtensionServer::State::DecryptData(const json &arguments, const Wire::Attachment &attachment) {
  TKTokenSession *session = SessionOf(arguments);
  id<TKTokenSessionDelegate> delegate = [session delegate];
  if (![delegate respondsToSelector:@selector(tokenSession:decryptData:usingKey:algorithm:error:)]) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  NSData *plaintext = [delegate tokenSession:session
                                 decryptData:Data(attachment)
                                    usingKey:DataFromHex(arguments.at("key"))
                                   algorithm:AlgorithmOf(arguments)
                                       error:&error];
  return Operated(plaintext, error);
}

Message ExtensionServer::State::PerformKeyExchange(const json &arguments, const Wire::Attachment &attachment) {
  TKTokenSession *session = SessionOf(arguments);
  id<TKTokenSessionDelegate> delegate = [session delegate];
  if (![delegate respondsToSelector:@selector(tokenSession:
                                        performKeyExchangeWithPublicKey:usingKey:algorithm:parameters:error:)]) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  NSData *secret = [delegate tokenSession:session
          performKeyExchangeWithPublicKey:Data(attachment)
                                 usingKey:DataFromHex(arguments.at("key"))
                                algorithm:AlgorithmOf(arguments)
                               parameters:ParametersOf(arguments)
                                    error:&error];
  return Operated(secret, error);
}

Message ExtensionServer::State::BeginAuth(const json &arguments, const Wire::Attachment &) {
  TKTokenSession *session = SessionOf(arguments);
  id<TKTokenSessionDelegate> delegate = [session delegate];
  if (![delegate respondsToSelector:@selector(tokenSession:beginAuthForOperation:constraint:error:)]) {
    return WithoutSuchMethod();
  }
  NSError *error = nil;
  TKTokenAuthOperation *operation = [delegate tokenSession:session
                                     beginAuthForOperation:OperationOf(arguments)
                                                constraint:ConstraintFrom(arguments.at("constraint"))
                                                     error:&error];
  if (!operation) {
    return Failure(error);
  }
  m_authentications.emplace(++m_lastIdentifier,
                            Authentication{Owned<TKTokenAuthOperation>(operation), arguments.at("session")});
  return Result({{"auth", m_lastIdentifier}, {"kind", KindOf(operation)}});
}

Message ExtensionServer::State::FinishAuth(const json &arguments, const Wire::Attachment &attachment) {
  TKTokenAuthOperation *operation = [[Known(m_authentications, arguments, "auth").object.get() retain] autorelease];
  m_authentications.erase(arguments.at("auth").get<int64_t>());
  if (arguments.at("hasPIN").get<bool>()) {
    SetPIN(operation, attachment);
  }
  NSError *error = nil;
  const CardOutOfReach outOfReach;
  return [operation finishWithError:&error] ? Result() : Failure(error);
}

void ExtensionServer::State::EndSession(int64_t session) {
  for (auto entry = m_authentications.begin(); entry != m_authentications.end();) {
    entry = entry->second.session == session ? m_authentications.erase(entry) : std::next(entry);
  }
  const auto node = m_sessions.extract(session);
  TKTokenSession *object = node.mapped().object.get();
  id<TKTokenDelegate> delegate = [[object token] delegate];
  if ([delegate respondsToSelector:@selector(token:terminateSession:)]) {
    [delegate token:[object token] terminateSession:object];
  }
}

void ExtensionServer::State::EndToken(int64_t token) {
  std::vector<int64_t> sessions;
  for (const auto &[identifier, session] : m_sessions) {
    if (session.token == token) {
      sessions.push_back(identifier);
    }
  }
  for (const int64_t session : sessions) {
    EndSession(session);
  }
  const auto node = m_tokens.extract(token);
  id<TKTokenDriverDelegate> delegate = [m_driver.get() delegate];
  if ([delegate respondsToSelector:@selector(tokenDriver:terminateToken:)]) {
    [delegate tokenDriver:m_driver.get() terminateToken:node.mapped().get()];
  }
}

void ExtensionServer::State::EndEverything() {
  while (!m_tokens.empty()) {
    EndToken(m_tokens.begin()->first);
  }
}

Message ExtensionServer::State::TerminateSession(const json &arguments, const Wire::Attachment &) {
  SessionOf(arguments);
  EndSession(arguments.at("session"));
  return Result();
}

Message ExtensionServer::State::TerminateToken(const json &arguments, const Wire::Attachment &) {
  Known(m_tokens, arguments, "token");
  EndToken(arguments.at("token"));
  return Result();
}

namespace {

/// Runs `body`, whose Objective-C exceptions are returned.
template <class Body>
NSException *RaisedBy(Body body) {
  return QELExceptionRaisedBy([](void *context) { (*static_cast<Body *>(context))(); }, &body);
}

}  // namespace

ExtensionServer::ExtensionServer(const ExtensionBundle &bundle) {
  const ScopedPool pool;
  m_state = std::make_unique<State>(bundle);
}

ExtensionServer::~ExtensionServer() {
  const ScopedPool pool;
  if (NSException *exception = RaisedBy([&] { m_state->EndEverything(); })) {
    NSLog(@"%@ while ending: %@", [exception name], [exception reason]);
  }
  m_state.reset();
}

Message ExtensionServer::Answer(const Message &request) {
  const ScopedPool pool;
  Message answer;
  NSException *exception = RaisedBy(
      [&] { answer = m_state->Answer(request.header.at("call"), request.header.at("arguments"), request.attachment); });
  return exception ? Raised(exception) : std::move(answer);
}
