#include "Mirror/Redis/RedisUrl.h"

#include "Mirror/Redis/RedisScripts.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

struct Good {
    char const * url;
    char const * place;
    char const * user = "";
    char const * password = "";
    U32 database = 0;
    bool tls = false;
};

TEST(RedisUrl, goodOnes) {
    for (auto const & [url, place, user, password, database, tls] : {
             Good{"redis://localhost", "localhost:6379"},
             Good{"redis://localhost:7000/3", "localhost:7000", "", "", 3},
             Good{"redis://:secret@10.0.0.1/", "10.0.0.1:6379", "", "secret"},
             Good{"redis://me:se%40c%3Aret@h:1", "h:1", "me", "se@c:ret"},
             Good{"redis://:a@b@h", "h:6379", "", "a@b"},
             Good{"redis://me@h", "h:6379", "me"},
             Good{"unix://me@/run/redis.sock", "/run/redis.sock", "me"},
             Good{"redis://[::1]:7000", "::1:7000"},
             Good{"redis://[2001:db8::1]", "2001:db8::1:6379"},
             Good{"rediss://h/2", "h:6379", "", "", 2, true},
             Good{"unix:///run/redis.sock", "/run/redis.sock"},
             Good{"unix://:pw@/run/my%20redis.sock", "/run/my redis.sock", "", "pw"},
         }) {
        auto const options = RedisOptions::parse(url);
        EXPECT_EQ(options.place(), place) << url;
        EXPECT_EQ(options.user, user) << url;
        EXPECT_EQ(options.password, password) << url;
        EXPECT_EQ(options.database, database) << url;
        EXPECT_EQ(options.tls, tls) << url;
    }
}

TEST(RedisUrl, badOnesAreRefusedWithoutTheirPassword) {
    for (char const * url :
         {"", "localhost", "http://h", "redis:/h", "redis://", "redis://:6379", "redis://h:x",
          "redis://h:65536", "redis://h:", "redis://h/x", "redis://h/99999999", "redis://[::1",
          "redis://@h", "redis://me:@h", "redis://:@h", "redis://:secret%4@h",
          "redis://:secret@h:x", "unix://relative/path", "unix://"}) {
        try {
            RedisOptions::parse(url);
            ADD_FAILURE() << url;
        } catch (RedisUrlError const & error) {
            EXPECT_EQ(String(error.what()).find("secret"), String::npos) << error.what();
        }
    }
}

TEST(RedisKeys, namesAreLettersDigitsAndAFewSigns) {
    EXPECT_EQ(RedisKeys("edge-1.eu_west").changes, "qcf:{edge-1.eu_west}:changes");
    for (String const & name : {String(), String("a b"), String("a{b"), String("\xc3\xa4"),
                                String("a:b"), String(129, 'a')}) {
        EXPECT_THROW(RedisKeys{name}, RedisUrlError) << name;
    }
}

} // namespace
} // namespace Qcf::Mirror
