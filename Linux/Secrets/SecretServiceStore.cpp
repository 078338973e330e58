#include "Linux/Secrets/SecretServiceStore.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <gio/gio.h>
#include <libsecret/secret.h>
#include <utility>
#include <vector>

#include "Core/Environment.h"
#include "Core/QueueTask.h"

namespace quillant {

namespace {

struct Unreference {
  void operator()(gpointer object) const { g_object_unref(object); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
  void operator()(SecretValue* value) const { secret_value_unref(value); }
};

template <class Object>
using Owned = std::unique_ptr<Object, Unreference>;

/// Not matched by name: a locked GNOME keyring finds nothing by that.
const SecretSchema schema = {"com.quillant.Secret",
                             SECRET_SCHEMA_DONT_MATCH_NAME,
                             {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

/// A keyring that is locked can ask for its password only on a display.
bool userCanBeAsked() {
  return !Environment::value("DISPLAY").empty() || !Environment::value("WAYLAND_DISPLAY").empty();
}

Owned<GHashTable> attributes(const SecretName& name) {
  return Owned<GHashTable>(secret_attributes_build(&schema, "service", name.service.c_str(), "account",
                                                   name.account.c_str(), nullptr));
}

}  // namespace

/// The operations themselves, each blocking the thread until it has ended.
class SecretServiceStore::Worker {
 public:
  explicit Worker(std::chrono::milliseconds timeLimit) : timeLimit_(timeLimit) {
    g_main_context_push_thread_default(context_.get());
  }
  ~Worker() {
    // What ended operations left to be freed is freed by the context.
    while (g_main_context_iteration(context_.get(), FALSE)) {
    }
    g_main_context_pop_thread_default(context_.get());
  }

  bool store(const SecretName& name, const std::string& secret) {
    const auto service = connect();
    if (!service) return false;
    const auto label = "Quillant (" + name.account + ")";
    const auto described = attributes(name);
    const Owned<SecretValue> value(
        secret_value_new(secret.data(), static_cast<gssize>(secret.size()), "text/plain"));
    const auto result = wait([&](auto* cancellable, auto callback, auto* data) {
      secret_service_store(service.get(), &schema, described.get(), SECRET_COLLECTION_DEFAULT, label.c_str(),
                           value.get(), cancellable, callback, data);
    });
    GError* error = nullptr;
    secret_service_store_finish(service.get(), result.get(), &error);
    return check(error);
  }

  std::optional<std::string> load(const SecretName& name) {
    const auto service = connect();
    const auto items = service ? find(service.get(), name) : std::nullopt;
    if (!items || items->empty()) return std::nullopt;
    const Owned<SecretValue> value(secret_item_get_secret(items->front().get()));
    if (!value) {
      if (userCanBeAsked()) throwLocked();
      return std::nullopt;
    }
    gsize length = 0;
    const gchar* text = secret_value_get(value.get(), &length);
    return std::string(text, length);
  }

  bool remove(const SecretName& name) {
    const auto service = connect();
    const auto items = service ? find(service.get(), name) : std::nullopt;
    if (!items) return false;
    for (const auto& item : *items) {
      if (secret_item_get_locked(item.get())) throwLocked();
      const auto result = wait([&](auto* cancellable, auto callback, auto* data) {
        secret_item_delete(item.get(), cancellable, callback, data);
      });
      GError* error = nullptr;
      secret_item_delete_finish(item.get(), result.get(), &error);
      if (!check(error)) return false;
    }
    return true;
  }

 private:
  /// Nothing: the service did not answer.
  using Items = std::optional<std::vector<Owned<SecretItem>>>;
  using Begin = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

  /// Runs the operation that `begin` starts, and cancels it when its time is over.
  Owned<GAsyncResult> wait(const Begin& begin) {
    const Owned<GCancellable> cancellable(g_cancellable_new());
    GSource* timer = g_timeout_source_new(static_cast<guint>(timeLimit_.count()));
    const auto cancel = [](gpointer data) -> gboolean {
      g_cancellable_cancel(static_cast<GCancellable*>(data));
      return G_SOURCE_REMOVE;
    };
    g_source_set_callback(timer, cancel, cancellable.get(), nullptr);
    g_source_attach(timer, context_.get());

    GAsyncResult* result = nullptr;
    const auto finish = [](GObject*, GAsyncResult* finished, gpointer data) {
      *static_cast<GAsyncResult**>(data) = static_cast<GAsyncResult*>(g_object_ref(finished));
    };
    begin(cancellable.get(), finish, &result);
    while (!result) g_main_context_iteration(context_.get(), TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
    return Owned<GAsyncResult>(result);
  }

  /// The service, or nothing if none answers.
  Owned<SecretService> connect() {
    const auto bus = wait([](auto* cancellable, auto callback, auto* data) {
      g_bus_get(G_BUS_TYPE_SESSION, cancellable, callback, data);
    });
    const Owned<GDBusConnection> connection(g_bus_get_finish(bus.get(), nullptr));
    if (!connection) return nullptr;
    // Otherwise the end of the session bus ends the program, a recording or not.
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);

    const auto service = wait([](auto* cancellable, auto callback, auto* data) {
      secret_service_get(SECRET_SERVICE_OPEN_SESSION, cancellable, callback, data);
    });
    return Owned<SecretService>(secret_service_get_finish(service.get(), nullptr));
  }

  /// What is kept under `name`, with its secrets; what is locked has none, even after its user was asked.
  Items find(SecretService* service, const SecretName& name) {
    auto items = search(service, name);
    if (!items) return std::nullopt;
    GList* locked = nullptr;
    for (const auto& item : *items)
      if (secret_item_get_locked(item.get())) locked = g_list_prepend(locked, item.get());
    if (locked && userCanBeAsked()) {
      const auto result = wait([&](auto* cancellable, auto callback, auto* data) {
        secret_service_unlock(service, locked, cancellable, callback, data);
      });
      GError* error = nullptr;
      secret_service_unlock_finish(service, result.get(), nullptr, &error);
      g_list_free(locked);
      check(error);
      return search(service, name);
    }
    g_list_free(locked);
    return items;
  }

  Items search(SecretService* service, const SecretName& name) {
    const auto described = attributes(name);
    const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS);
    const auto result = wait([&](auto* cancellable, auto callback, auto* data) {
      secret_service_search(service, &schema, described.get(), flags, cancellable, callback, data);
    });
    GError* error = nullptr;
    GList* list = secret_service_search_finish(service, result.get(), &error);
    std::vector<Owned<SecretItem>> items;
    for (const GList* link = list; link; link = link->next)
      items.emplace_back(static_cast<SecretItem*>(link->data));
    g_list_free(list);
    if (!check(error)) return std::nullopt;
    return items;
  }

  [[noreturn]] static void throwLocked() { throw SecretStoreError(EACCES, "the keyring is locked"); }

  /// True without an error, false with one that means that the service cannot answer; throws with any other.
  static bool check(GError* error) {
    if (!error) return true;
    const Owned<GError> owned(error);
    if (!userCanBeAsked()) return false;
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED))
      throw SecretStoreError(ETIMEDOUT, "the keyring did not answer in time; is it waiting to be unlocked?");
    throw SecretStoreError(error->code, error->message);
  }

  std::chrono::milliseconds timeLimit_;
  Owned<GMainContext> context_{g_main_context_new()};
};

SecretServiceStore::SecretServiceStore(std::chrono::milliseconds timeLimit) {
  queue_.sync([&] { worker_ = std::make_unique<Worker>(timeLimit); });
}

SecretServiceStore::~SecretServiceStore() {
  queue_.sync([this] { worker_.reset(); });
}

Task<bool> SecretServiceStore::store(SecretName name, std::string secret) {
  const auto operation = [&]() -> Task<bool> { co_return worker_->store(name, secret); };
  const bool kept = co_await runOn(queue_, operation());
  co_return kept;
}

Task<std::optional<std::string>> SecretServiceStore::load(SecretName name) {
  const auto operation = [&]() -> Task<std::optional<std::string>> { co_return worker_->load(name); };
  auto secret = co_await runOn(queue_, operation());
  co_return secret;
}

Task<bool> SecretServiceStore::remove(SecretName name) {
  const auto operation = [&]() -> Task<bool> { co_return worker_->remove(name); };
  const bool answered = co_await runOn(queue_, operation());
  co_return answered;
}

}  // namespace quillant
