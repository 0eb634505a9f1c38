-- Makes a database ready for the stores of teams. An administrator runs it once in a database, and roles.sql behind it:
--   psql -v ON_ERROR_STOP=1 -1 -f schema.sql -f roles.sql DATABASE
-- The program makes and changes no tables. All values are bytes as they are: what they mean is for the program alone.
CREATE SCHEMA project_share;

CREATE TABLE project_share.project(
  id bytea PRIMARY KEY,
  name bytea NOT NULL UNIQUE,
  format int NOT NULL,
  revision bigint NOT NULL CHECK (revision >= 1),
  -- The first revision of which the log still has the edit; see trim.sql.
  floor bigint NOT NULL CHECK (floor BETWEEN 1 AND revision),
  -- The exclusive or of its items' digests. A project that has lost some of them, as when a backup is restored in part,
  -- is refused.
  content bytea NOT NULL CHECK (length(content) = 32),
  closed boolean NOT NULL DEFAULT false
);

-- A row of a project's store, whatever table of the store it stands in: so these tables stay as they are when the store
-- gets others. The key is a digest, for a row is longer than a key of an index may be.
CREATE TABLE project_share.item(
  project bytea NOT NULL REFERENCES project_share.project ON DELETE CASCADE,
  digest bytea NOT NULL,
  change bytea NOT NULL,
  PRIMARY KEY (project, digest)
);

CREATE TABLE project_share.edit(
  project bytea NOT NULL REFERENCES project_share.project ON DELETE CASCADE,
  revision bigint NOT NULL,
  id bytea NOT NULL,
  at bigint NOT NULL,
  author bytea NOT NULL,
  machine bytea NOT NULL,
  words bytea NOT NULL,
  undoes bytea NOT NULL,
  settled bytea NOT NULL,
  changes bytea NOT NULL,
  PRIMARY KEY (project, revision),
  UNIQUE (project, id)
);
