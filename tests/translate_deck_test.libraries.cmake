set(libraries sbr_translators ZLIB::ZLIB)
