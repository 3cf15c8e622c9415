#ifndef ZUNIC_HOSTING_PUBLISHING_H
#define ZUNIC_HOSTING_PUBLISHING_H

#include <atomic>
#include <type_traits>

/// Stores to the fields of a record, and above all to the one that decides whether others use the record.
namespace ZunicHosting {

template <typename Field>
Field load(Field& field)
{
    return std::atomic_ref(field).load(std::memory_order_acquire);
}

/// To a field that is read without the registry mutex, before the record is published.
template <typename Field>
void store(Field& field, std::type_identity_t<Field> value)
{
    std::atomic_ref(field).store(value, std::memory_order_relaxed);
}

/// After everything else in the record was written.
template <typename Field>
void publish(Field& field, std::type_identity_t<Field> value)
{
    std::atomic_ref(field).store(value, std::memory_order_release);
}

/// Before anything else in the record is written.
template <typename Field>
void withdraw(Field& field, std::type_identity_t<Field> value)
{
    std::atomic_ref(field).store(value, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
}

} // namespace ZunicHosting

#endif
