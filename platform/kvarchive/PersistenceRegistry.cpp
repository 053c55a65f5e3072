#include "platform/kvarchive/PersistenceRegistry.h"

#include <algorithm>
#include <deque>

#include "platform/kvarchive/PersistenceArchiver.h"

namespace Kavrel {

namespace {

/// Goes from a class to a distant relative, one registered pair after the other.
class CasterChain final : public Caster
{
public:
  /// \p casters leads from the base to the derived class.
  explicit CasterChain(std::vector<Caster*> casters) : m_casters(std::move(casters)) {}

  void* toBase(void* derived) override
  {
    void* object = derived;
    for (auto caster = m_casters.rbegin(); caster != m_casters.rend(); ++caster)
      object = (*caster)->toBase(object);
    return object;
  }

  void* toDerived(void* base) override
  {
    void* object = base;
    for (auto caster = m_casters.begin(); caster != m_casters.end() && object != nullptr; ++caster)
      object = (*caster)->toDerived(object);
    return object;
  }

private:
  std::vector<Caster*> m_casters;
};

} // namespace

PersistenceRegistry& PersistenceRegistry::instance()
{
  // Never destroyed: objects may be saved by destructors that run at the end of the process.
  static PersistenceRegistry* const registry = new PersistenceRegistry();
  return *registry;
}

BaseClassRegister* PersistenceRegistry::enterClass(const std::string& key, const BaseClassRegister& record,
                                                   unsigned int version)
{
  const std::lock_guard lock(m_registering);
  const unsigned int hash = PersistenceArchiver::getHashForName(key);
  if (hash == NO_HASH)
    throw PersistenceException("The class key \"" + key + "\" has the hash that stands for no class.");
  const auto [entry, isNew] = m_classes.emplace(hash, record);
  if (!isNew)
    throw PersistenceException("The class keys \"" + key + "\" and \"" + m_keys[hash] + "\" have the same hash.");
  m_keys[hash] = key;
  entry->second.classHash = hash;
  entry->second.saveVersion = version;
  entry->second.loadVersion = version;
  return &entry->second;
}

void PersistenceRegistry::linkType(unsigned int typeHash, unsigned int classHash)
{
  const std::lock_guard lock(m_registering);
  const auto [entry, isNew] = m_classOfType.emplace(typeHash, classHash);
  if (!isNew && entry->second != classHash) throw PersistenceException("Two persistent types have the same hash.");
}

unsigned int PersistenceRegistry::classOfType(unsigned int typeHash) const
{
  const auto found = m_classOfType.find(typeHash);
  return found == m_classOfType.end() ? NO_HASH : found->second;
}

bool PersistenceRegistry::enterCaster(unsigned int baseHash, unsigned int derivedHash, std::unique_ptr<Caster> caster)
{
  if (caster == nullptr) return false;
  const std::lock_guard lock(m_casting);
  m_casters.try_emplace({derivedHash, baseHash}, std::move(caster));
  return true;
}

Caster* PersistenceRegistry::caster(unsigned int baseHash, unsigned int derivedHash)
{
  const std::lock_guard lock(m_casting);
  const Pair pair(derivedHash, baseHash);
  if (const auto direct = m_casters.find(pair); direct != m_casters.end()) return direct->second.get();
  if (const auto known = m_chains.find(pair); known != m_chains.end()) return known->second.get();
  std::vector<Caster*> casters = shortestChain(baseHash, derivedHash);
  if (casters.empty()) return nullptr;
  return m_chains.emplace(pair, std::make_unique<CasterChain>(std::move(casters))).first->second.get();
}

std::vector<Caster*> PersistenceRegistry::shortestChain(unsigned int baseHash, unsigned int derivedHash) const
{
  // Breadth first, upwards from the derived class: each class remembers the pair by which it was reached.
  std::map<unsigned int, std::pair<unsigned int, Caster*>> reachedFrom{{derivedHash, {derivedHash, nullptr}}};
  std::deque<unsigned int> open{derivedHash};
  while (!open.empty() && !reachedFrom.contains(baseHash)) {
    const unsigned int hash = open.front();
    open.pop_front();
    for (auto parent = m_casters.lower_bound({hash, 0}); parent != m_casters.end() && parent->first.first == hash;
         ++parent) {
      if (reachedFrom.try_emplace(parent->first.second, hash, parent->second.get()).second)
        open.push_back(parent->first.second);
    }
  }
  std::vector<Caster*> chain;
  if (!reachedFrom.contains(baseHash)) return chain;
  for (unsigned int hash = baseHash; hash != derivedHash; hash = reachedFrom.at(hash).first)
    chain.push_back(reachedFrom.at(hash).second);
  return chain;
}

} // namespace Kavrel
