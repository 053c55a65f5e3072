#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/kvarchive/BaseClassRegister.h"
#include "platform/kvarchive/Caster.h"

namespace Kavrel {

/// All that is known of the persistent classes of the process. It is built by the initialisers of the libraries, in
/// any order, and only read after that, but for the chains of casters, which are made when first asked for.
class PersistenceRegistry
{
public:
  static PersistenceRegistry& instance();

  BaseClassRegister* enterClass(const std::string& key, const BaseClassRegister& record, unsigned int version);
  void linkType(unsigned int typeHash, unsigned int classHash);
  unsigned int classOfType(unsigned int typeHash) const;
  bool enterCaster(unsigned int baseHash, unsigned int derivedHash, std::unique_ptr<Caster> caster);
  Caster* caster(unsigned int baseHash, unsigned int derivedHash);
  std::map<unsigned int, BaseClassRegister>& classes() { return m_classes; }

private:
  using Pair = std::pair<unsigned int, unsigned int>; // derived, base

  std::vector<Caster*> shortestChain(unsigned int baseHash, unsigned int derivedHash) const;

  std::map<unsigned int, BaseClassRegister> m_classes;
  std::map<unsigned int, std::string> m_keys;
  std::unordered_map<unsigned int, unsigned int> m_classOfType;
  std::map<Pair, std::unique_ptr<Caster>> m_casters;
  std::map<Pair, std::unique_ptr<Caster>> m_chains;
  std::mutex m_registering;
  std::mutex m_casting;
};

} // namespace Kavrel
