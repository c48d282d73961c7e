SELECT a.bundle_identifier, a.bundle_name, a.name, a.bundle_short_version, a.bundle_version, a.path,
       o.version AS os_version, s.hostname
FROM apps a, os_version o, system_info s;
