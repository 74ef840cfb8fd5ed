#import "platform/src/Foundation/WireObjects.h"

#include "platform/src/Foundation/ExtensionServer.h"
#import "platform/testing/TKTesting.h"
#include "platform/wire/Hex.h"

using json = nlohmann::json;

static std::string HexOf(NSData *data) {
  return Wire::ToHex(static_cast<const uint8_t *>([data bytes]), [data length]);
}

NSString *Text(const json &text) {
  return [NSString stringWithUTF8String:text.get_ref<const std::string &>().c_str()];
}

NSData *DataFromHex(const json &text) {
  const auto bytes = Wire::FromHex(text.get_ref<const std::string &>());
  if (!bytes) {
    throw BadRequest("not hexadecimal: " + text.dump());
  }
  return [NSData dataWithBytes:bytes->data() length:bytes->size()];
}

NSData *Data(const Wire::Attachment &attachment) {
  return [NSData dataWithBytes:attachment.data() length:attachment.size()];
}

TKTokenOperation OperationOf(const json &arguments) {
  return static_cast<TKTokenOperation>(arguments.at("operation").get<NSInteger>());
}

TKTokenKeyAlgorithm *AlgorithmOf(const json &arguments) {
  NSMutableArray *algorithms = [NSMutableArray array];
  for (const json &algorithm : arguments.at("algorithms")) {
    [algorithms addObject:Text(algorithm)];
  }
  return [[[TKTokenKeyAlgorithm alloc] initWithAlgorithms:algorithms] autorelease];
}

TKTokenKeyExchangeParameters *ParametersOf(const json &arguments) {
  NSData *sharedInfo = arguments.contains("sharedInfo") ? DataFromHex(arguments.at("sharedInfo")) : nil;
  return [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:arguments.at("requestedSize").get<NSInteger>()
                                                           sharedInfo:sharedInfo] autorelease];
}

static json JsonOf(id constraint) {
  if ([constraint isKindOfClass:[NSString class]]) {
    return [constraint UTF8String];
  }
  if ([constraint isKindOfClass:[NSNumber class]]) {
    return [constraint boolValue] != NO;
  }
  throw BadRequest("the extension gave a constraint that is neither text nor a truth value");
}

id ConstraintFrom(const json &constraint) {
  if (constraint.is_boolean()) {
    return [NSNumber numberWithBool:constraint.get<bool>()];
  }
  return [NSString stringWithUTF8String:constraint.get_ref<const std::string &>().c_str()];
}

static json DescriptionOfKey(TKTokenKeychainKey *key) {
  return {{"kind", "key"},
          {"keyType", [key keyType] ? json([[key keyType] UTF8String]) : json("")},
          {"keySizeInBits", [key keySizeInBits]},
          {"publicKeyHash", HexOf([key publicKeyHash])},
          {"canSign", [key canSign] != NO},
          {"canDecrypt", [key canDecrypt] != NO},
          {"canPerformKeyExchange", [key canPerformKeyExchange] != NO},
          {"suitableForLogin", [key isSuitableForLogin] != NO}};
}

json DescriptionOf(TKTokenKeychainItem *item) {
  if (![[item objectID] isKindOfClass:[NSData class]]) {
    throw BadRequest("the extension gave an object identifier that is not an NSData");
  }
  json description;
  if ([item isKindOfClass:[TKTokenKeychainKey class]]) {
    description = DescriptionOfKey((TKTokenKeychainKey *)item);
  } else if ([item isKindOfClass:[TKTokenKeychainCertificate class]]) {
    description = {{"kind", "certificate"}, {"certificate", HexOf([(TKTokenKeychainCertificate *)item data])}};
  } else {
    throw BadRequest("the extension gave an item that is neither a certificate nor a key");
  }
  description["objectID"] = HexOf([item objectID]);
  description["label"] = [item label] ? json([[item label] UTF8String]) : json(nullptr);
  description["constraints"] = json::object();
  for (NSNumber *operation in [item constraints]) {
    description["constraints"][std::to_string([operation integerValue])] =
        JsonOf([[item constraints] objectForKey:operation]);
  }
  return description;
}
